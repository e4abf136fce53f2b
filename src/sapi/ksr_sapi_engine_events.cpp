// KSR_Engine: turning the context's events into callbacks.

#include <cmath>

#include "ksr_logger.h"
#include "ksr_sapi_engine.h"
#include "sapi/co_task_memory.h"
#include "sapi/ksr_utf16.h"
#include "sapi/sapi_event.h"

namespace {

// The threshold (percent) that the first element's required confidence
// selects.
int thresholdFor(signed char requiredConfidence, const KSR_Engine& engine)
{
    if (requiredConfidence == SP_HIGH_CONFIDENCE)
        return engine.getConfidenceThreshold(KSR::High);
    if (requiredConfidence == SP_NORMAL_CONFIDENCE)
        return engine.getConfidenceThreshold(KSR::Normal);
    return engine.getConfidenceThreshold(KSR::Low);
}

// Only the first phrase element decides; a phrase without elements has
// nothing to measure and is not accepted.
bool isAccepted(const SPPHRASE& phrase, const KSR_Engine& engine)
{
    if (!phrase.pElements)
        return false;
    const SPPHRASEELEMENT& first = phrase.pElements[0];
    const float threshold = static_cast<float>(thresholdFor(first.RequiredConfidence, engine)) / 100.0f;
    return first.SREngineConfidence >= threshold;
}

// The engine's confidence as a whole per cent; SAPI's engines give 0 to 1.
int confidencePercent(float confidence)
{
    if (!(confidence > 0.0f))
        return 0;
    if (confidence >= 1.0f)
        return 100;
    return static_cast<int>(std::lround(confidence * 100.0f));
}

KSR_Engine::HeardWords heardWordsOf(const SPPHRASE& phrase)
{
    KSR_Engine::HeardWords heard;
    if (!phrase.pElements)
        return heard;
    for (ULONG i = 0; i < phrase.Rule.ulCountOfElements; ++i) {
        const SPPHRASEELEMENT& element = phrase.pElements[i];
        const WCHAR* form = element.pszLexicalForm ? element.pszLexicalForm : element.pszDisplayText;
        // An element may hold several words ("new york"); each gets its confidence.
        KSR::splitString(KSR::lowBytes(form), ' ', false, heard.words);
        heard.confidences.resize(heard.words.size(), confidencePercent(element.SREngineConfidence));
    }
    return heard;
}

}  // namespace

void KSR_Engine::processSREvents()
{
    if (!m_initialized) {
        KSR_Logger::Error("K_SpeechRecognition was not initialized!");
        return;
    }
    WaitForSingleObject(m_eventHandle, 0);

    SPEVENT event = {};
    ULONG fetched = 0;
    if (m_context->GetEvents(1, &event, &fetched) != S_OK) {
        KSR::freeEventParameter(event);
        // Nothing waiting: sleep until SAPI signals the next event (or the
        // pause ends), so that a polling loop does not spin.
        WaitForSingleObject(m_eventHandle, idleWaitMilliseconds);
        return;
    }
    handleEvent(event);
    KSR::freeEventParameter(event);
}

void KSR_Engine::handleEvent(const SPEVENT& event)
{
    switch (event.eEventId) {
    case SPEI_RECO_STATE_CHANGE:
        if (m_recoStateChangedFunction)
            m_recoStateChangedFunction(event.wParam != 0);
        break;
    case SPEI_FALSE_RECOGNITION:
        if (m_recognitionFailedFunction)
            m_recognitionFailedFunction();
        break;
    case SPEI_RECOGNITION:
    case SPEI_HYPOTHESIS:
        handleResult(event);
        break;
    default:
        // Phrase start, interference, recognition for another context:
        // asked for, and deliberately ignored.
        break;
    }
}

void KSR_Engine::handleResult(const SPEVENT& event)
{
    auto* result = reinterpret_cast<ISpRecoResult*>(event.lParam);
    if (!result)
        return;
    SPPHRASE* rawPhrase = nullptr;
    const HRESULT phraseResult = result->GetPhrase(&rawPhrase);
    const KSR::CoTaskMemPtr<SPPHRASE> phrase(rawPhrase);
    if (FAILED(phraseResult) || !phrase)
        return;

    WCHAR* rawText = nullptr;
    const HRESULT textResult = result->GetText(SP_GETWHOLEPHRASE, SP_GETWHOLEPHRASE, TRUE, &rawText, nullptr);
    const KSR::CoTaskMemPtr<WCHAR> text(rawText);

    KSR::SRData data;
    data.grammarId = phrase->ullGrammarID;
    data.ruleId = phrase->Rule.ulId;
    data.commandId = -1;
    data.text = SUCCEEDED(textResult) ? KSR::lowBytes(text.get()) : std::string();

    const bool accepted = isAccepted(*phrase, *this);
    const bool hypothesis = event.eEventId == SPEI_HYPOTHESIS;
    const auto& deliver = hypothesis ? m_hypothesisFunction : m_recognitionFunction;
    const HeardFunction& deliverHeard = hypothesis ? m_hypothesisWordsFunction : m_recognitionWordsFunction;
    const HeardWords heard = deliverHeard ? heardWordsOf(*phrase) : HeardWords();

    // One delivery per top-level property (each names one command), or one
    // with command id -1 when the phrase has none.
    const SPPHRASEPROPERTY* property = phrase->pProperties;
    do {
        data.commandId = property ? static_cast<KSR::CommandId>(property->vValue.lVal) : -1;
        if (accepted && deliverHeard)
            deliverHeard(data, heard);
        else if (accepted && deliver)
            deliver(data);
        property = property ? property->pNextSibling : nullptr;
    } while (property);
}
