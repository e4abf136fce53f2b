#ifndef KSR_TESTS_SAPI_FAKE_RESULT_H
#define KSR_TESTS_SAPI_FAKE_RESULT_H

#include <string>
#include <vector>

#include "fake_com.h"
#include "ksr_com_ptr.h"

namespace SapiFakes {

struct PhraseElement {
    std::string text;
    signed char requiredConfidence = SP_NORMAL_CONFIDENCE;
    float engineConfidence = 1.0f;
    BYTE displayAttributes = 0;
};

struct PhraseProperty {
    std::string name = "Default_Property";
    ULONG id = 0;
    std::string value;
    LONG number = 0;  // the value, of type `type`
    VARTYPE type = VT_I4;
    // The elements it spans; all of them by default.
    ULONG firstElement = 0;
    long countOfElements = -1;
    std::vector<PhraseProperty> children{};
};

// A rule the phrase went through below its top-level rule, and the
// elements it spans.
struct PhraseRule {
    std::string name;
    ULONG id = 0;
    ULONG firstElement = 0;
    ULONG countOfElements = 0;
    std::vector<PhraseRule> children{};
};

// What a recognition or hypothesis reports.
struct PhraseSpec {
    ULONGLONG grammarId = 0;
    ULONG ruleId = 0;
    std::string ruleName;
    std::string text;
    std::vector<PhraseElement> elements;
    std::vector<PhraseProperty> properties;  // the top-level ones, with theirs below
    std::vector<PhraseRule> rules;           // the top-level rule's children
};

// ISpRecoResult. Logs as "Result". GetPhrase hands out the whole phrase in
// one CoTaskMemAlloc block (rule with its child rules, properties linked as
// siblings in order with their children, elements and strings), as SAPI
// does; GetText a CoTaskMemAlloc string.
class FakeResult final : public FakeUnknown<ISpRecoResult> {
public:
    explicit FakeResult(PhraseSpec scripted);
    static KSR::ComPtr<FakeResult> make(PhraseSpec scripted);

    std::string logName() const { return "Result"; }

    // ISpPhrase
    HRESULT STDMETHODCALLTYPE GetPhrase(SPPHRASE** ppCoMemPhrase) override;
    HRESULT STDMETHODCALLTYPE GetSerializedPhrase(SPSERIALIZEDPHRASE**) override KSR_FAKE_UNEXPECTED(GetSerializedPhrase)
    HRESULT STDMETHODCALLTYPE GetText(ULONG ulStart, ULONG ulCount, BOOL fUseTextReplacements, LPWSTR* ppszCoMemText,
                                      BYTE* pbDisplayAttributes) override;
    HRESULT STDMETHODCALLTYPE Discard(DWORD) override KSR_FAKE_UNEXPECTED(Discard)
    // ISpRecoResult
    HRESULT STDMETHODCALLTYPE GetResultTimes(SPRECORESULTTIMES*) override KSR_FAKE_UNEXPECTED(GetResultTimes)
    HRESULT STDMETHODCALLTYPE GetAlternates(ULONG, ULONG, ULONG, ISpPhraseAlt**, ULONG*) override
        KSR_FAKE_UNEXPECTED(GetAlternates)
    HRESULT STDMETHODCALLTYPE GetAudio(ULONG, ULONG, ISpStreamFormat**) override KSR_FAKE_UNEXPECTED(GetAudio)
    HRESULT STDMETHODCALLTYPE SpeakAudio(ULONG, ULONG, DWORD, ULONG*) override KSR_FAKE_UNEXPECTED(SpeakAudio)
    HRESULT STDMETHODCALLTYPE Serialize(SPSERIALIZEDRESULT**) override KSR_FAKE_UNEXPECTED(Serialize)
    HRESULT STDMETHODCALLTYPE ScaleAudio(const GUID*, const WAVEFORMATEX*) override KSR_FAKE_UNEXPECTED(ScaleAudio)
    HRESULT STDMETHODCALLTYPE GetRecoContext(ISpRecoContext**) override KSR_FAKE_UNEXPECTED(GetRecoContext)

protected:
    bool implements(REFIID riid) const override;

private:
    SPPHRASE* buildPhrase() const;

    PhraseSpec m_scripted;
};

// A command phrase of one element and one property, as the grammar builds
// them: grammar, rule, command id, text, the element's required and measured
// confidence.
PhraseSpec commandPhrase(ULONGLONG grammarId, ULONG ruleId, LONG commandId, const std::string& text,
                         signed char requiredConfidence = SP_HIGH_CONFIDENCE, float engineConfidence = 1.0f);

}  // namespace SapiFakes

#endif
