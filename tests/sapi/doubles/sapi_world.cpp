#include "sapi_world.h"

namespace SapiFakes {

SapiWorld::SapiWorld()
    : SapiWorld(Options())
{
}

SapiWorld::SapiWorld(const Options& options)
{
    CallLog::clear();
    Script::clear();
    if (options.initializeCom)
        m_comInitialized = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    if (options.registerClasses) {
        registerClass(CLSID_SpInprocRecognizer, "SpInprocRecognizer",
                      [this]() -> IUnknown* { return static_cast<ISpRecognizer*>(new FakeRecognizer(false, m_setup)); });
        registerClass(CLSID_SpSharedRecognizer, "SpSharedRecognizer",
                      [this]() -> IUnknown* { return static_cast<ISpRecognizer*>(new FakeRecognizer(true, m_setup)); });
        registerClass(CLSID_SpObjectTokenCategory, "SpObjectTokenCategory", [this]() -> IUnknown* {
            return static_cast<ISpObjectTokenCategory*>(new FakeTokenCategory(defaultAudioTokenId));
        });
        registerClass(CLSID_SpObjectToken, "SpObjectToken",
                      []() -> IUnknown* { return static_cast<ISpObjectToken*>(new FakeToken()); });
    }
}

SapiWorld::~SapiWorld()
{
    for (DWORD cookie : m_cookies)
        CoRevokeClassObject(cookie);
    if (m_comInitialized)
        CoUninitialize();
}

void SapiWorld::registerClass(const CLSID& clsid, const std::string& name, FakeClassFactory::Creator creator)
{
    auto* factory = new FakeClassFactory(name, std::move(creator));
    DWORD cookie = 0;
    if (SUCCEEDED(CoRegisterClassObject(clsid, static_cast<IClassFactory*>(factory), CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &cookie)))
        m_cookies.push_back(cookie);
    factory->Release();
}

FakeGrammar* SapiWorld::grammar(ULONGLONG id) const
{
    for (FakeGrammar* grammar : Registry<FakeGrammar>::all())
        if (grammar->id() == id)
            return grammar;
    return nullptr;
}

SPEVENTENUM SapiWorld::say(const Utterance& utterance) const
{
    FakeRecognizer* listener = recognizer();
    return listener ? listener->say(utterance) : SPEI_UNDEFINED;
}

}  // namespace SapiFakes
