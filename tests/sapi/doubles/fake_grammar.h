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

// One transition as the grammar received it (the property copied, as SAPI
// copies it): words (AddWordTransition), an empty transition (the same
// without text), a reference to a rule or one dictated word
// (AddRuleTransition to SPRULETRANS_DICTATION).
struct WordTransition {
    enum class Kind { Words, Empty, Rule, Dictation };
    Kind kind = Kind::Words;
    std::string rule;      // where it leaves: "start of <rule>" or "state <n> of <rule>"
    std::string ruleName;  // the rule whose initial state it leaves, if any
    std::string owner;     // the rule whose state it leaves
    SPSTATEHANDLE from = nullptr;
    SPSTATEHANDLE to = nullptr;  // null: the rule's end
    bool toEnd = false;
    // Rule: the rule referred to, and its initial state.
    std::string target;
    SPSTATEHANDLE targetState = nullptr;
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

// A rule of a grammar: its name, id and initial state.
struct ListenedRule {
    std::string name;
    DWORD id = 0;
    SPSTATEHANDLE start = nullptr;
};

// What a recognizer listens for in one grammar right now: the grammar's
// state, whether its dictation is loaded and active, its active top-level
// rules in ascending id, and the transitions of its last commit with every
// rule they may refer to. Dictated words within a rule need the dictation
// topic loaded, active or not.
struct GrammarListening {
    ULONGLONG id = 0;
    FakeContext* context = nullptr;
    SPGRAMMARSTATE state = SPGS_ENABLED;
    bool dictation = false;
    bool dictationLoaded = false;
    std::vector<ListenedRule> rules;
    std::vector<WordTransition> transitions;
    std::map<SPSTATEHANDLE, ListenedRule> rulesByStart;
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
    // Empties the rule of `hState` (any of its states): its transitions and
    // the states made in it go, its initial state stays.
    HRESULT STDMETHODCALLTYPE ClearRule(SPSTATEHANDLE hState) override;
    HRESULT STDMETHODCALLTYPE CreateNewState(SPSTATEHANDLE hState, SPSTATEHANDLE* phState) override;
    HRESULT STDMETHODCALLTYPE AddWordTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState, LPCWSTR psz,
                                                LPCWSTR pszSeparators, SPGRAMMARWORDTYPE eWordType, float Weight,
                                                const SPPROPERTYINFO* pPropInfo) override;
    // Transitions go between two states of one rule (the second may be the
    // end); E_INVALIDARG otherwise, as for a rule reference to anything but
    // a rule's initial state or SPRULETRANS_DICTATION.
    HRESULT STDMETHODCALLTYPE AddRuleTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState,
                                                SPSTATEHANDLE hRule, float Weight,
                                                const SPPROPERTYINFO* pPropInfo) override;
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
    // A state made with CreateNewState: its rule and its number there.
    struct MadeState {
        std::string rule;
        int number = 0;
    };
    HRESULT script(const std::string& method) const { return Script::next(logName(), method); }
    HRESULT keepTransition(const char* call, bool placed, const WordTransition& transition);
    std::string ruleAt(SPSTATEHANDLE state) const;
    // The rule a state belongs to ("" for none), and how the log names it.
    std::string ownerOf(SPSTATEHANDLE state) const;
    std::string describe(SPSTATEHANDLE state) const;
    // Fills in where the transition goes from and to; false when SAPI
    // would refuse the two states.
    bool place(WordTransition& transition, SPSTATEHANDLE from, SPSTATEHANDLE to) const;
    HRESULT addTransition(const WordTransition& transition, const std::string& call, const std::string& method);

    const ULONGLONG m_id;
    KSR::ComPtr<FakeContext> m_context;
    mutable std::mutex m_mutex;
    SPGRAMMARSTATE m_state = SPGS_ENABLED;
    std::map<std::string, Rule> m_rules;
    std::map<SPSTATEHANDLE, MadeState> m_madeStates;
    std::vector<std::unique_ptr<int>> m_stateStorage;  // never reused while the grammar lives
    std::map<std::string, int> m_statesMade;            // by rule
    std::vector<WordTransition> m_transitions;
    std::vector<WordTransition> m_committed;
    int m_commits = 0;
    bool m_dictationLoaded = false;
    SPRULESTATE m_dictationState = SPRS_INACTIVE;
    std::set<std::string> m_unpronounceable;
};

}  // namespace SapiFakes

#endif
