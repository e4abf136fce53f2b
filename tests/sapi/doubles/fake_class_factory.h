#ifndef KSR_TESTS_SAPI_FAKE_CLASS_FACTORY_H
#define KSR_TESTS_SAPI_FAKE_CLASS_FACTORY_H

#include <functional>
#include <string>

#include "fake_com.h"

namespace SapiFakes {

// The class object a test registers with CoRegisterClassObject in place of
// a SAPI class: CoCreateInstance of that class then creates a double. Logs
// every creation as "CoCreateInstance(<class>)", which the script can fail.
class FakeClassFactory final : public FakeUnknown<IClassFactory> {
public:
    using Creator = std::function<IUnknown*()>;
    FakeClassFactory(std::string className, Creator creator);

    std::string logName() const { return "CoCreateInstance(" + m_className + ")"; }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

protected:
    bool implements(REFIID riid) const override { return IsEqualIID(riid, IID_IClassFactory); }

private:
    std::string m_className;
    Creator m_creator;
};

}  // namespace SapiFakes

#endif
