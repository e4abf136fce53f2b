#ifndef KSR_TESTS_SAPI_FAKE_GRAMMAR_H
#define KSR_TESTS_SAPI_FAKE_GRAMMAR_H

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "fake_com.h"
#include "grammar_words.h"
#include "ksr_com_ptr.h"

namespace SapiFakes {

class FakeContext;

// One word transition as the grammar received it (the property copied, as
// SAPI copies it).
struct WordTransition {
    std::string rule;      // "start of <rule>" for a rule's initial state
    std::string ruleName;  // the rule whose initial state it leaves, if any
    bool toEnd = false;
    std::string word;
    std::string separators;
    SPGRAMMARWORDTYPE type = SPWT_DISPLAY;
    float weight = 0;
    bool hasProperty = false;
    std::string propertyName;
    ULONG propertyId = 0;
    std::string propertyValue;
    VARTYPE valueType = VT_EMPTY;
    LONG value = 0;
    std::vector<GrammarWord> words;  // the text as SAPI reads it
};

// A rule as a recognizer listens for it: the word transitions of its last
// commit.
struct ListenedRule {
    std::string name;
    DWORD id = 0;
    std::vector<WordTransition> transitions;
};

// What a recognizer listens for in one grammar right now: the grammar's
// state, whether its dictation is loaded and active, and its active
// top-level rules in ascending id.
struct GrammarListening {
    ULONGLONG id = 0;
    FakeContext* context = nullptr;
    SPGRAMMARSTATE state = SPGS_ENABLED;
    bool dictation = false;
    std::vector<ListenedRule> rules;
};

// ISpRecoGrammar. Logs as "Grammar[<id>]". A new grammar is SPGS_ENABLED, as
// in SAPI; it keeps its context alive.
class FakeGrammar final : public FakeUnknown<ISpRecoGrammar> {
public:
    FakeGrammar(ULONGLONG id, FakeContext* context);
    ~FakeGrammar() override;

    std::string logName() const { return "Grammar[" + std::to_string(m_id) + "]"; }
    ULONGLONG id() const { return m_id; }
    SPGRAMMARSTATE grammarState() const;
    // The state SetRuleState last gave the rule (by name or for all).
    SPRULESTATE ruleState(const std::string& rule) const;
    bool hasRule(const std::string& rule) const;
    DWORD ruleId(const std::string& rule) const;
    std::vector<WordTransition> transitions() const;
    int commits() const;
    FakeContext* context() const { return m_context.get(); }
    // As SAPI, a recognizer hears what was committed, in the states the
    // rules, the dictation and the grammar have now.
    GrammarListening listening() const;
    bool dictationLoaded() const;
    SPRULESTATE dictationState() const;
    // Words IsPronounceable calls unpronounceable.
    void setUnpronounceable(const std::string& word);

    // ISpGrammarBuilder
    HRESULT STDMETHODCALLTYPE ResetGrammar(WORD) override KSR_FAKE_UNEXPECTED(ResetGrammar)
    HRESULT STDMETHODCALLTYPE GetRule(LPCWSTR pszRuleName, DWORD dwRuleId, DWORD dwAttributes, BOOL fCreateIfNotExist,
                                      SPSTATEHANDLE* phInitialState) override;
    HRESULT STDMETHODCALLTYPE ClearRule(SPSTATEHANDLE) override KSR_FAKE_UNEXPECTED(ClearRule)
    HRESULT STDMETHODCALLTYPE CreateNewState(SPSTATEHANDLE, SPSTATEHANDLE*) override KSR_FAKE_UNEXPECTED(CreateNewState)
    HRESULT STDMETHODCALLTYPE AddWordTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState, LPCWSTR psz,
                                                LPCWSTR pszSeparators, SPGRAMMARWORDTYPE eWordType, float Weight,
                                                const SPPROPERTYINFO* pPropInfo) override;
    HRESULT STDMETHODCALLTYPE AddRuleTransition(SPSTATEHANDLE, SPSTATEHANDLE, SPSTATEHANDLE, float,
                                                const SPPROPERTYINFO*) override KSR_FAKE_UNEXPECTED(AddRuleTransition)
    HRESULT STDMETHODCALLTYPE AddResource(SPSTATEHANDLE, LPCWSTR, LPCWSTR) override KSR_FAKE_UNEXPECTED(AddResource)
    HRESULT STDMETHODCALLTYPE Commit(DWORD dwReserved) override;
    // ISpRecoGrammar
    HRESULT STDMETHODCALLTYPE GetGrammarId(ULONGLONG* pullGrammarId) override;
    HRESULT STDMETHODCALLTYPE GetRecoContext(ISpRecoContext** ppRecoCtxt) override;
    HRESULT STDMETHODCALLTYPE LoadCmdFromFile(LPCWSTR, SPLOADOPTIONS) override KSR_FAKE_UNEXPECTED(LoadCmdFromFile)
    HRESULT STDMETHODCALLTYPE LoadCmdFromObject(REFCLSID, LPCWSTR, SPLOADOPTIONS) override
        KSR_FAKE_UNEXPECTED(LoadCmdFromObject)
    HRESULT STDMETHODCALLTYPE LoadCmdFromResource(HMODULE, LPCWSTR, LPCWSTR, WORD, SPLOADOPTIONS) override
        KSR_FAKE_UNEXPECTED(LoadCmdFromResource)
    HRESULT STDMETHODCALLTYPE LoadCmdFromMemory(const SPBINARYGRAMMAR*, SPLOADOPTIONS) override
        KSR_FAKE_UNEXPECTED(LoadCmdFromMemory)
    HRESULT STDMETHODCALLTYPE LoadCmdFromProprietaryGrammar(REFGUID, LPCWSTR, const void*, ULONG, SPLOADOPTIONS) override
        KSR_FAKE_UNEXPECTED(LoadCmdFromProprietaryGrammar)
    HRESULT STDMETHODCALLTYPE SetRuleState(LPCWSTR pszName, void* pReserved, SPRULESTATE NewState) override;
    HRESULT STDMETHODCALLTYPE SetRuleIdState(ULONG, SPRULESTATE) override KSR_FAKE_UNEXPECTED(SetRuleIdState)
    HRESULT STDMETHODCALLTYPE LoadDictation(LPCWSTR pszTopicName, SPLOADOPTIONS Options) override;
    HRESULT STDMETHODCALLTYPE UnloadDictation() override;
    HRESULT STDMETHODCALLTYPE SetDictationState(SPRULESTATE NewState) override;
    HRESULT STDMETHODCALLTYPE SetWordSequenceData(const WCHAR*, ULONG, const SPTEXTSELECTIONINFO*) override
        KSR_FAKE_UNEXPECTED(SetWordSequenceData)
    HRESULT STDMETHODCALLTYPE SetTextSelection(const SPTEXTSELECTIONINFO*) override KSR_FAKE_UNEXPECTED(SetTextSelection)
    HRESULT STDMETHODCALLTYPE IsPronounceable(LPCWSTR pszWord, SPWORDPRONOUNCEABLE* pWordPronounceable) override;
    HRESULT STDMETHODCALLTYPE SetGrammarState(SPGRAMMARSTATE eGrammarState) override;
    HRESULT STDMETHODCALLTYPE SaveCmd(IStream*, LPWSTR*) override KSR_FAKE_UNEXPECTED(SaveCmd)
    HRESULT STDMETHODCALLTYPE GetGrammarState(SPGRAMMARSTATE* peGrammarState) override;

protected:
    bool implements(REFIID riid) const override;

private:
    struct Rule {
        DWORD id = 0;
        DWORD attributes = 0;
        SPRULESTATE state = SPRS_INACTIVE;
        std::unique_ptr<int> initialState;  // its address is the state handle
    };
    HRESULT script(const std::string& method) const { return Script::next(logName(), method); }
    std::string ruleAt(SPSTATEHANDLE state) const;

    const ULONGLONG m_id;
    KSR::ComPtr<FakeContext> m_context;
    mutable std::mutex m_mutex;
    SPGRAMMARSTATE m_state = SPGS_ENABLED;
    std::map<std::string, Rule> m_rules;
    std::vector<WordTransition> m_transitions;
    std::vector<WordTransition> m_committed;
    int m_commits = 0;
    bool m_dictationLoaded = false;
    SPRULESTATE m_dictationState = SPRS_INACTIVE;
    std::set<std::string> m_unpronounceable;
};

}  // namespace SapiFakes

#endif
