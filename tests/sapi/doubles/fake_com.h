#ifndef KSR_TESTS_SAPI_FAKE_COM_H
#define KSR_TESTS_SAPI_FAKE_COM_H

// Ground shared by the SAPI test doubles: a call log that every double
// writes to, scripted failures, a count of live doubles and the IUnknown
// they all implement. Built against the same COM declarations as the back
// end, so on Windows the doubles implement the real SAPI interfaces.

#include <atomic>
#include <string>
#include <vector>

#include "ksr_sapi_com.h"

namespace SapiFakes {

// Every call a double receives, in order, as "Object.Method(arguments)".
// GetEvents calls are counted instead (a polling thread makes many).
namespace CallLog {
void add(const std::string& call);
std::vector<std::string> calls();
// The calls that start with `prefix`.
std::vector<std::string> callsStartingWith(const std::string& prefix);
void clear();
}  // namespace CallLog

// What a double's method answers. A call is named "Object.Method", where
// Object is the double's log name with or without its bracketed id
// ("Grammar[101].Commit" or "Grammar.Commit"); the class factories answer
// for "CoCreateInstance(SpInprocRecognizer)" and the like.
namespace Script {
// Queues `result` as the answer of one call (queued answers come first, in
// order): answerOnce("Recognizer.GetPropertyNum", S_OK) twice and then
// failOnce(..., E_FAIL) fails the third call.
void answerOnce(const std::string& call, HRESULT result);
// The next call fails with `result`, later ones succeed again.
void failOnce(const std::string& call, HRESULT result);
// Every call fails with `result`.
void failAlways(const std::string& call, HRESULT result);
void clear();
// The result for one call of `method` on `object` (S_OK unless scripted).
HRESULT next(const std::string& object, const std::string& method);
}  // namespace Script

// Doubles alive right now (class factories not included).
int liveObjects();

// UTF-16 from and to UTF-8 for the log and the tests; a null text reads
// "null".
std::string narrow(const WCHAR* text);
KSR::WideString wide(const std::string& text);
// A copy of `text` in a block from CoTaskMemAlloc, as SAPI hands out text.
WCHAR* coTaskMemText(const std::string& text);

std::string hex(unsigned long long value);
std::string recoStateName(SPRECOSTATE state);
std::string grammarStateName(SPGRAMMARSTATE state);
std::string ruleStateName(SPRULESTATE state);

namespace detail {
std::atomic<int>& liveCounter();
}

// IUnknown for a double implementing one interface chain: reference
// counting (thread-safe, the polling thread releases results), the
// interface ids the double answers to, and deletion on the last Release.
template <class Interface>
class FakeUnknown : public Interface {
public:
    explicit FakeUnknown(bool counted = true) : m_counted(counted)
    {
        if (m_counted)
            ++detail::liveCounter();
    }
    virtual ~FakeUnknown()
    {
        if (m_counted)
            --detail::liveCounter();
    }
    FakeUnknown(const FakeUnknown&) = delete;
    FakeUnknown& operator=(const FakeUnknown&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override
    {
        if (!ppvObject)
            return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || implements(riid)) {
            *ppvObject = static_cast<Interface*>(this);
            this->AddRef();
            return S_OK;
        }
        *ppvObject = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }
    ULONG references() const { return m_references; }

protected:
    virtual bool implements(REFIID riid) const = 0;

private:
    std::atomic<ULONG> m_references{1};
    bool m_counted;
};

}  // namespace SapiFakes

// Body of an interface method the back end is not expected to call: logged
// as unexpected, so that a test sees it.
#define KSR_FAKE_UNEXPECTED(method)                                    \
    {                                                                  \
        ::SapiFakes::CallLog::add(logName() + "." #method "(unexpected)"); \
        return E_NOTIMPL;                                              \
    }

#endif
