#include "fake_class_factory.h"

#include <utility>

namespace SapiFakes {

FakeClassFactory::FakeClassFactory(std::string className, Creator creator)
    : FakeUnknown<IClassFactory>(false)
    , m_className(std::move(className))
    , m_creator(std::move(creator))
{
}

HRESULT FakeClassFactory::CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject)
{
    CallLog::add(logName());
    if (!ppvObject)
        return E_POINTER;
    *ppvObject = nullptr;
    const HRESULT result = Script::next(logName(), "create");
    if (FAILED(result))
        return result;
    if (pUnkOuter)
        return CLASS_E_NOAGGREGATION;
    IUnknown* object = m_creator();
    const HRESULT answer = object->QueryInterface(riid, ppvObject);
    object->Release();
    return answer;
}

}  // namespace SapiFakes
