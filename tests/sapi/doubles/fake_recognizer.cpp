#include "fake_recognizer.h"

#include <algorithm>
#include <cstdint>

#include "fake_context.h"
#include "fake_grammar.h"
#include "fake_registry.h"
#include "fake_result.h"
#include "fake_token.h"
#include "spoken_phrase.h"

namespace SapiFakes {

FakeRecognizer::FakeRecognizer(bool shared, const RecognizerSetup& setup)
    : m_shared(shared)
    , m_setup(setup)
    , m_state(setup.state)
{
    Registry<FakeRecognizer>::add(this);
}

FakeRecognizer::~FakeRecognizer()
{
    Registry<FakeRecognizer>::remove(this);
    CallLog::add("Recognizer destroyed");
}

bool FakeRecognizer::implements(REFIID riid) const
{
    return IsEqualIID(riid, IID_ISpRecognizer) || IsEqualIID(riid, IID_ISpProperties);
}

SPRECOSTATE FakeRecognizer::recoState() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
}

void FakeRecognizer::forceRecoState(SPRECOSTATE state)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_state = state;
}

LONG FakeRecognizer::property(const std::string& name) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_setup.properties.find(name);
    return it == m_setup.properties.end() ? -1 : it->second;
}

std::string FakeRecognizer::inputDescription() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_inputDescription;
}

bool FakeRecognizer::hasInput() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<bool>(m_input);
}

namespace {

// What the grammars of `contexts` listen for, in ascending grammar id.
std::vector<GrammarListening> listeningGrammars(const std::vector<FakeContext*>& contexts)
{
    std::vector<GrammarListening> grammars;
    Registry<FakeGrammar>::forEach([&](FakeGrammar* grammar) {
        if (std::find(contexts.begin(), contexts.end(), grammar->context()) != contexts.end())
            grammars.push_back(grammar->listening());
    });
    std::sort(grammars.begin(), grammars.end(),
              [](const GrammarListening& a, const GrammarListening& b) { return a.id < b.id; });
    return grammars;
}

void pushPhrase(FakeContext* context, SPEVENTENUM id, const PhraseSpec& phrase)
{
    const KSR::ComPtr<FakeResult> result = FakeResult::make(phrase);
    context->pushResult(id, result.get());
}

}  // namespace

SPEVENTENUM FakeRecognizer::say(const Utterance& utterance)
{
    std::vector<FakeContext*> contexts;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_state != SPRST_ACTIVE && m_state != SPRST_ACTIVE_ALWAYS)
            return SPEI_UNDEFINED;
        contexts = m_contexts;
    }
    const std::size_t heard = utterance.words.size();
    if (heard == 0)
        return SPEI_UNDEFINED;
    const std::vector<GrammarListening> grammars = listeningGrammars(contexts);

    for (FakeContext* context : contexts)
        context->pushSimple(SPEI_PHRASE_START);
    if (utterance.hypotheses) {
        const std::size_t hypotheses = utterance.finished ? heard - 1 : heard;
        for (std::size_t count = 1; count <= hypotheses; ++count) {
            FoundPhrase found;
            if (findPhrase(grammars, utterance, count, false, &found))
                pushPhrase(found.context, SPEI_HYPOTHESIS, found.phrase);
        }
    }
    if (!utterance.finished)
        return SPEI_UNDEFINED;

    FoundPhrase found;
    if (findPhrase(grammars, utterance, heard, true, &found)) {
        pushPhrase(found.context, SPEI_RECOGNITION, found.phrase);
        for (FakeContext* context : contexts)
            if (context != found.context)
                context->pushSimple(SPEI_RECO_OTHER_CONTEXT);
        return SPEI_RECOGNITION;
    }
    for (FakeContext* context : contexts)
        pushPhrase(context, SPEI_FALSE_RECOGNITION, unmatchedPhrase(utterance));
    return SPEI_FALSE_RECOGNITION;
}

void FakeRecognizer::contextCreated(FakeContext* context)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_contexts.push_back(context);
}

void FakeRecognizer::contextDestroyed(FakeContext* context)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_contexts.erase(std::remove(m_contexts.begin(), m_contexts.end(), context), m_contexts.end());
}

HRESULT FakeRecognizer::SetPropertyNum(LPCWSTR pName, LONG lValue)
{
    CallLog::add("Recognizer.SetPropertyNum(" + narrow(pName) + ", " + std::to_string(lValue) + ")");
    const HRESULT result = script("SetPropertyNum");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_setup.properties[narrow(pName)] = lValue;
    return S_OK;
}

HRESULT FakeRecognizer::GetPropertyNum(LPCWSTR pName, LONG* plValue)
{
    CallLog::add("Recognizer.GetPropertyNum(" + narrow(pName) + ")");
    const HRESULT result = script("GetPropertyNum");
    if (FAILED(result))
        return result;
    if (!plValue)
        return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_setup.properties.find(narrow(pName));
    if (it == m_setup.properties.end())
        return E_INVALIDARG;
    *plValue = it->second;
    return S_OK;
}

HRESULT FakeRecognizer::SetInput(IUnknown* pUnkInput, BOOL fAllowFormatChanges)
{
    std::string description = pUnkInput ? "object" : "null";
    KSR::ComPtr<ISpObjectToken> token;
    if (pUnkInput && SUCCEEDED(pUnkInput->QueryInterface(IID_ISpObjectToken, token.putVoid()))) {
        WCHAR* id = nullptr;
        if (SUCCEEDED(token->GetId(&id)))
            description = "token " + narrow(id);
        CoTaskMemFree(id);
    }
    CallLog::add("Recognizer.SetInput(" + description + ", " + std::to_string(fAllowFormatChanges) + ")");
    const HRESULT result = script("SetInput");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_input = KSR::ComPtr<IUnknown>::share(pUnkInput);
    m_inputDescription = description;
    return S_OK;
}

HRESULT FakeRecognizer::CreateRecoContext(ISpRecoContext** ppNewCtxt)
{
    CallLog::add("Recognizer.CreateRecoContext");
    const HRESULT result = script("CreateRecoContext");
    if (FAILED(result))
        return result;
    if (!ppNewCtxt)
        return E_POINTER;
    *ppNewCtxt = new FakeContext(this);
    return S_OK;
}

HRESULT FakeRecognizer::GetRecoState(SPRECOSTATE* pState)
{
    CallLog::add("Recognizer.GetRecoState");
    const HRESULT result = script("GetRecoState");
    if (FAILED(result))
        return result;
    if (!pState)
        return E_POINTER;
    *pState = recoState();
    return S_OK;
}

HRESULT FakeRecognizer::SetRecoState(SPRECOSTATE NewState)
{
    CallLog::add("Recognizer.SetRecoState(" + recoStateName(NewState) + ")");
    const HRESULT result = script("SetRecoState");
    if (FAILED(result))
        return result;
    std::vector<FakeContext*> contexts;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_state == NewState)
            return S_OK;
        m_state = NewState;
        contexts = m_contexts;
    }
    for (FakeContext* context : contexts)
        context->pushStateChange(NewState);
    return S_OK;
}

HRESULT FakeRecognizer::GetStatus(SPRECOGNIZERSTATUS* pStatus)
{
    CallLog::add("Recognizer.GetStatus");
    const HRESULT result = script("GetStatus");
    if (FAILED(result))
        return result;
    if (!pStatus)
        return E_POINTER;
    *pStatus = SPRECOGNIZERSTATUS{};
    std::lock_guard<std::mutex> lock(m_mutex);
    pStatus->cLangIDs = static_cast<ULONG>(m_setup.languages.size());
    const std::size_t capacity = sizeof(pStatus->aLangID) / sizeof(pStatus->aLangID[0]);
    for (std::size_t i = 0; i < m_setup.languages.size() && i < capacity; ++i)
        pStatus->aLangID[i] = m_setup.languages[i];
    return S_OK;
}

HRESULT FakeRecognizer::IsUISupported(LPCWSTR pszTypeOfUI, void* pvExtraData, ULONG cbExtraData, BOOL* pfSupported)
{
    CallLog::add("Recognizer.IsUISupported(" + narrow(pszTypeOfUI) + ", " + (pvExtraData ? "data" : "null") + ", " +
                 std::to_string(cbExtraData) + ")");
    const HRESULT result = script("IsUISupported");
    if (FAILED(result))
        return result;
    if (!pfSupported)
        return E_POINTER;
    *pfSupported = m_setup.uiSupported;
    return S_OK;
}

HRESULT FakeRecognizer::DisplayUI(HWND hwndParent, LPCWSTR pszTitle, LPCWSTR pszTypeOfUI, void* pvExtraData,
                                  ULONG cbExtraData)
{
    CallLog::add("Recognizer.DisplayUI(" + hex(reinterpret_cast<std::uintptr_t>(hwndParent)) + ", " +
                 narrow(pszTitle) + ", " + narrow(pszTypeOfUI) + ", " + (pvExtraData ? "data" : "null") + ", " +
                 std::to_string(cbExtraData) + ")");
    return script("DisplayUI");
}

}  // namespace SapiFakes
