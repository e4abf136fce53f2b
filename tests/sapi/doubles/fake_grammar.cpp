#include "fake_grammar.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "fake_context.h"
#include "fake_registry.h"

namespace SapiFakes {

namespace {

std::string wordTypeName(SPGRAMMARWORDTYPE type)
{
    switch (type) {
    case SPWT_DISPLAY:
        return "SPWT_DISPLAY";
    case SPWT_LEXICAL:
        return "SPWT_LEXICAL";
    case SPWT_PRONUNCIATION:
        return "SPWT_PRONUNCIATION";
    default:
        return "SPWT_" + std::to_string(static_cast<int>(type));
    }
}

std::string weightText(float weight)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%g", static_cast<double>(weight));
    return text;
}

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string propertyText(const WordTransition& transition)
{
    if (!transition.hasProperty)
        return "null";
    return "{" + transition.propertyName + ", " + std::to_string(transition.propertyId) + ", " +
           transition.propertyValue + ", vt " + std::to_string(transition.valueType) + " = " +
           std::to_string(transition.value) + "}";
}

void copyProperty(const SPPROPERTYINFO* info, WordTransition& transition)
{
    if (!info)
        return;
    transition.hasProperty = true;
    transition.propertyName = narrow(info->pszName);
    transition.propertyId = info->ulId;
    transition.propertyValue = narrow(info->pszValue);
    transition.valueType = info->vValue.vt;
    transition.value = info->vValue.lVal;
}

}  // namespace

FakeGrammar::FakeGrammar(ULONGLONG id, FakeContext* context)
    : m_id(id)
    , m_context(KSR::ComPtr<FakeContext>::share(context))
{
    Registry<FakeGrammar>::add(this);
}

FakeGrammar::~FakeGrammar()
{
    Registry<FakeGrammar>::remove(this);
    CallLog::add(logName() + " destroyed");
}

bool FakeGrammar::implements(REFIID riid) const
{
    return IsEqualIID(riid, IID_ISpRecoGrammar) || IsEqualIID(riid, IID_ISpGrammarBuilder);
}

SPGRAMMARSTATE FakeGrammar::grammarState() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
}

SPRULESTATE FakeGrammar::ruleState(const std::string& rule) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_rules.find(rule);
    return it == m_rules.end() ? SPRS_INACTIVE : it->second.state;
}

bool FakeGrammar::hasRule(const std::string& rule) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_rules.count(rule) != 0;
}

DWORD FakeGrammar::ruleId(const std::string& rule) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_rules.find(rule);
    return it == m_rules.end() ? 0 : it->second.id;
}

std::vector<WordTransition> FakeGrammar::transitions() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_transitions;
}

int FakeGrammar::commits() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_commits;
}

bool FakeGrammar::dictationLoaded() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dictationLoaded;
}

SPRULESTATE FakeGrammar::dictationState() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dictationState;
}

void FakeGrammar::setUnpronounceable(const std::string& word)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_unpronounceable.insert(word);
}

std::string FakeGrammar::ruleAt(SPSTATEHANDLE state) const
{
    for (const auto& rule : m_rules)
        if (reinterpret_cast<SPSTATEHANDLE>(rule.second.initialState.get()) == state)
            return rule.first;
    return std::string();
}

std::string FakeGrammar::ownerOf(SPSTATEHANDLE state) const
{
    const std::string rule = ruleAt(state);
    if (!rule.empty())
        return rule;
    const auto made = m_madeStates.find(state);
    return made == m_madeStates.end() ? std::string() : made->second.rule;
}

std::string FakeGrammar::describe(SPSTATEHANDLE state) const
{
    if (!state)
        return "end";
    if (state == SPRULETRANS_DICTATION)
        return "dictation";
    const std::string rule = ruleAt(state);
    if (!rule.empty())
        return "start of " + rule;
    const auto made = m_madeStates.find(state);
    if (made != m_madeStates.end())
        return "state " + std::to_string(made->second.number) + " of " + made->second.rule;
    return "unknown state";
}

bool FakeGrammar::place(WordTransition& transition, SPSTATEHANDLE from, SPSTATEHANDLE to) const
{
    transition.from = from;
    transition.to = to;
    transition.toEnd = to == nullptr;
    transition.rule = describe(from);
    transition.ruleName = ruleAt(from);
    transition.owner = ownerOf(from);
    return !transition.owner.empty() && (!to || ownerOf(to) == transition.owner);
}

GrammarListening FakeGrammar::listening() const
{
    GrammarListening listening;
    listening.id = m_id;
    listening.context = m_context.get();
    std::lock_guard<std::mutex> lock(m_mutex);
    listening.state = m_state;
    listening.dictation = m_dictationLoaded && m_dictationState != SPRS_INACTIVE;
    listening.dictationLoaded = m_dictationLoaded;
    listening.transitions = m_committed;
    for (const auto& entry : m_rules) {
        const Rule& rule = entry.second;
        ListenedRule listened;
        listened.name = entry.first;
        listened.id = rule.id;
        listened.start = reinterpret_cast<SPSTATEHANDLE>(rule.initialState.get());
        listening.rulesByStart[listened.start] = listened;
        if (rule.state != SPRS_INACTIVE && (rule.attributes & SPRAF_TopLevel))
            listening.rules.push_back(std::move(listened));
    }
    std::sort(listening.rules.begin(), listening.rules.end(),
              [](const ListenedRule& a, const ListenedRule& b) { return a.id < b.id; });
    return listening;
}

HRESULT FakeGrammar::GetRule(LPCWSTR pszRuleName, DWORD dwRuleId, DWORD dwAttributes, BOOL fCreateIfNotExist,
                             SPSTATEHANDLE* phInitialState)
{
    const std::string name = narrow(pszRuleName);
    CallLog::add(logName() + ".GetRule(" + name + ", " + std::to_string(dwRuleId) + ", " + hex(dwAttributes) + ", " +
                 std::to_string(fCreateIfNotExist) + ")");
    const HRESULT result = script("GetRule");
    if (FAILED(result))
        return result;
    if (!phInitialState)
        return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_rules.find(name);
    if (it == m_rules.end()) {
        if (!fCreateIfNotExist)
            return E_INVALIDARG;
        Rule rule;
        rule.id = dwRuleId;
        rule.attributes = dwAttributes;
        rule.state = (dwAttributes & SPRAF_Active) ? SPRS_ACTIVE : SPRS_INACTIVE;
        rule.initialState = std::make_unique<int>(0);
        it = m_rules.emplace(name, std::move(rule)).first;
    }
    *phInitialState = reinterpret_cast<SPSTATEHANDLE>(it->second.initialState.get());
    return S_OK;
}

HRESULT FakeGrammar::AddWordTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState, LPCWSTR psz,
                                       LPCWSTR pszSeparators, SPGRAMMARWORDTYPE eWordType, float Weight,
                                       const SPPROPERTYINFO* pPropInfo)
{
    WordTransition transition;
    bool placed = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        placed = place(transition, hFromState, hToState);
    }
    transition.word = psz ? narrow(psz) : std::string();
    transition.separators = pszSeparators ? narrow(pszSeparators) : std::string();
    transition.words = grammarWords(transition.word, transition.separators);
    // No text, or no word in it: an empty transition.
    if (transition.words.empty())
        transition.kind = WordTransition::Kind::Empty;
    transition.type = eWordType;
    transition.weight = Weight;
    copyProperty(pPropInfo, transition);
    const std::string text = psz ? quoted(transition.word) : std::string("null");
    const std::string separators = pszSeparators ? quoted(transition.separators) : std::string("null");
    std::string target;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        target = describe(hToState);
    }
    CallLog::add(logName() + ".AddWordTransition(" + transition.rule + ", " + target + ", " + text + ", " +
                 separators + ", " + wordTypeName(eWordType) + ", " + weightText(Weight) + ", " +
                 propertyText(transition) + ")");
    return keepTransition("AddWordTransition", placed, transition);
}

HRESULT FakeGrammar::AddRuleTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState, SPSTATEHANDLE hRule,
                                       float Weight, const SPPROPERTYINFO* pPropInfo)
{
    WordTransition transition;
    bool placed = false;
    std::string target;
    std::string referred;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        placed = place(transition, hFromState, hToState);
        target = describe(hToState);
        if (hRule == SPRULETRANS_DICTATION) {
            transition.kind = WordTransition::Kind::Dictation;
            referred = "dictation";
        } else {
            transition.kind = WordTransition::Kind::Rule;
            transition.target = ruleAt(hRule);
            transition.targetState = hRule;
            placed = placed && !transition.target.empty();
            referred = transition.target.empty() ? "unknown rule" : "rule " + transition.target;
        }
    }
    transition.weight = Weight;
    copyProperty(pPropInfo, transition);
    CallLog::add(logName() + ".AddRuleTransition(" + transition.rule + ", " + target + ", " + referred + ", " +
                 weightText(Weight) + ", " + propertyText(transition) + ")");
    return keepTransition("AddRuleTransition", placed, transition);
}

// The scripted result of the call, else E_INVALIDARG for a transition that
// could not be placed, else the transition kept.
HRESULT FakeGrammar::keepTransition(const char* call, bool placed, const WordTransition& transition)
{
    const HRESULT result = script(call);
    if (FAILED(result))
        return result;
    if (!placed)
        return E_INVALIDARG;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_transitions.push_back(transition);
    return S_OK;
}

HRESULT FakeGrammar::CreateNewState(SPSTATEHANDLE hState, SPSTATEHANDLE* phState)
{
    std::string in;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        in = describe(hState);
    }
    CallLog::add(logName() + ".CreateNewState(" + in + ")");
    const HRESULT result = script("CreateNewState");
    if (FAILED(result))
        return result;
    if (!phState)
        return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string rule = ownerOf(hState);
    if (rule.empty())
        return E_INVALIDARG;
    m_stateStorage.push_back(std::make_unique<int>(0));
    const auto state = reinterpret_cast<SPSTATEHANDLE>(m_stateStorage.back().get());
    m_madeStates[state] = MadeState{rule, ++m_statesMade[rule]};
    *phState = state;
    return S_OK;
}

HRESULT FakeGrammar::ClearRule(SPSTATEHANDLE hState)
{
    std::string rule;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        rule = ownerOf(hState);
    }
    CallLog::add(logName() + ".ClearRule(" + (rule.empty() ? std::string("unknown state") : rule) + ")");
    const HRESULT result = script("ClearRule");
    if (FAILED(result))
        return result;
    if (rule.empty())
        return E_INVALIDARG;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_transitions.erase(std::remove_if(m_transitions.begin(), m_transitions.end(),
                                       [&](const WordTransition& transition) { return transition.owner == rule; }),
                        m_transitions.end());
    for (auto it = m_madeStates.begin(); it != m_madeStates.end();)
        it = it->second.rule == rule ? m_madeStates.erase(it) : std::next(it);
    return S_OK;
}

HRESULT FakeGrammar::Commit(DWORD dwReserved)
{
    CallLog::add(logName() + ".Commit(" + std::to_string(dwReserved) + ")");
    const HRESULT result = script("Commit");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_commits;
    m_committed = m_transitions;
    return S_OK;
}

HRESULT FakeGrammar::GetGrammarId(ULONGLONG* pullGrammarId)
{
    if (!pullGrammarId)
        return E_POINTER;
    *pullGrammarId = m_id;
    return S_OK;
}

HRESULT FakeGrammar::GetRecoContext(ISpRecoContext** ppRecoCtxt)
{
    if (!ppRecoCtxt)
        return E_POINTER;
    *ppRecoCtxt = m_context.get();
    m_context->AddRef();
    return S_OK;
}

HRESULT FakeGrammar::SetRuleState(LPCWSTR pszName, void* pReserved, SPRULESTATE NewState)
{
    const std::string name = narrow(pszName);
    CallLog::add(logName() + ".SetRuleState(" + name + ", " + (pReserved ? "data" : "null") + ", " +
                 ruleStateName(NewState) + ")");
    const HRESULT result = script("SetRuleState");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!pszName) {
        for (auto& rule : m_rules)
            rule.second.state = NewState;
        return S_OK;
    }
    const auto it = m_rules.find(name);
    if (it == m_rules.end())
        return E_INVALIDARG;
    it->second.state = NewState;
    return S_OK;
}

HRESULT FakeGrammar::LoadDictation(LPCWSTR pszTopicName, SPLOADOPTIONS Options)
{
    CallLog::add(logName() + ".LoadDictation(" + narrow(pszTopicName) + ", " +
                 (Options == SPLO_STATIC ? "SPLO_STATIC" : "SPLO_DYNAMIC") + ")");
    const HRESULT result = script("LoadDictation");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_dictationLoaded = true;
    return S_OK;
}

HRESULT FakeGrammar::UnloadDictation()
{
    CallLog::add(logName() + ".UnloadDictation");
    const HRESULT result = script("UnloadDictation");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_dictationLoaded = false;
    return S_OK;
}

HRESULT FakeGrammar::SetDictationState(SPRULESTATE NewState)
{
    CallLog::add(logName() + ".SetDictationState(" + ruleStateName(NewState) + ")");
    const HRESULT result = script("SetDictationState");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_dictationState = NewState;
    return S_OK;
}

HRESULT FakeGrammar::IsPronounceable(LPCWSTR pszWord, SPWORDPRONOUNCEABLE* pWordPronounceable)
{
    const std::string word = narrow(pszWord);
    CallLog::add(logName() + ".IsPronounceable(" + word + ")");
    const HRESULT result = script("IsPronounceable");
    if (FAILED(result))
        return result;
    if (!pWordPronounceable)
        return E_POINTER;
    std::lock_guard<std::mutex> lock(m_mutex);
    *pWordPronounceable =
        m_unpronounceable.count(word) ? SPWP_UNKNOWN_WORD_UNPRONOUNCEABLE : SPWP_KNOWN_WORD_PRONOUNCEABLE;
    return S_OK;
}

HRESULT FakeGrammar::SetGrammarState(SPGRAMMARSTATE eGrammarState)
{
    CallLog::add(logName() + ".SetGrammarState(" + grammarStateName(eGrammarState) + ")");
    const HRESULT result = script("SetGrammarState");
    if (FAILED(result))
        return result;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_state = eGrammarState;
    return S_OK;
}

HRESULT FakeGrammar::GetGrammarState(SPGRAMMARSTATE* peGrammarState)
{
    CallLog::add(logName() + ".GetGrammarState");
    const HRESULT result = script("GetGrammarState");
    if (FAILED(result))
        return result;
    if (!peGrammarState)
        return E_POINTER;
    *peGrammarState = grammarState();
    return S_OK;
}

}  // namespace SapiFakes
