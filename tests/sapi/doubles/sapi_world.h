#ifndef KSR_TESTS_SAPI_SAPI_WORLD_H
#define KSR_TESTS_SAPI_SAPI_WORLD_H

#include <string>
#include <vector>

#include "fake_class_factory.h"
#include "fake_com.h"
#include "fake_context.h"
#include "fake_grammar.h"
#include "fake_recognizer.h"
#include "fake_registry.h"
#include "fake_result.h"
#include "fake_token.h"
#include "spoken_phrase.h"

namespace SapiFakes {

// A machine with SAPI installed, as far as one test can tell: COM is
// initialised on the test's thread (as the host does) and the recognizer,
// token category and token classes are registered with
// CoRegisterClassObject, so the back end's own CoCreateInstance calls create
// doubles. The call log and the script start empty. The world holds no
// reference to what the back end creates; on destruction it revokes the
// classes and uninitialises COM.
class SapiWorld {
public:
    struct Options {
        bool initializeCom = true;
        bool registerClasses = true;
    };
    SapiWorld();
    explicit SapiWorld(const Options& options);
    ~SapiWorld();
    SapiWorld(const SapiWorld&) = delete;
    SapiWorld& operator=(const SapiWorld&) = delete;

    // The profile of recognizers created from now on.
    RecognizerSetup& setup() { return m_setup; }
    std::string defaultAudioTokenId =
        "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\AudioInput\\TokenEnums\\MMAudioIn\\";

    // The newest live double of each kind (null when none is alive).
    FakeRecognizer* recognizer() const { return Registry<FakeRecognizer>::last(); }
    FakeContext* context() const { return Registry<FakeContext>::last(); }
    FakeGrammar* grammar(ULONGLONG id) const;

    // Says words to the newest recognizer (FakeRecognizer::say); with no
    // recognizer alive nothing is heard (SPEI_UNDEFINED).
    SPEVENTENUM say(const Utterance& utterance) const;
    SPEVENTENUM say(const std::string& words, float confidence = 1.0f) const { return say(Utterance(words, confidence)); }
    std::vector<FakeGrammar*> grammars() const { return Registry<FakeGrammar>::all(); }

private:
    void registerClass(const CLSID& clsid, const std::string& name, FakeClassFactory::Creator creator);

    RecognizerSetup m_setup;
    bool m_comInitialized = false;
    std::vector<DWORD> m_cookies;
};

}  // namespace SapiFakes

#endif
