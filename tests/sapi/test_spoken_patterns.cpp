// The recognizer double hears words through rules built of states, as SAPI
// does: word transitions between states, empty transitions, references to
// other rules, dictated words, and the properties and child rules a real
// engine reports for the path it took. Everything goes through the SAPI
// interfaces, as the back end does.

#include <gtest/gtest.h>

#include <list>

#include "com_memory.h"
#include "ksr_com_ptr.h"
#include "sapi_world.h"

using SapiFakes::Utterance;

namespace {

// A property of a result as the application reads it, with its children.
struct ReadProperty {
    std::string name;
    std::string value;
    LONG number = 0;
    VARTYPE type = VT_EMPTY;
    ULONG first = 0;
    ULONG count = 0;
    std::vector<ReadProperty> children;
};

struct ReadRule {
    std::string name;
    ULONG id = 0;
    ULONG first = 0;
    ULONG count = 0;
    std::vector<ReadRule> children;
};

struct ReadResult {
    SPEVENTENUM id = SPEI_UNDEFINED;
    ULONG ruleId = 0;
    std::string text;
    std::vector<std::string> words;
    std::vector<signed char> required;
    std::vector<ReadProperty> properties;
    std::vector<ReadRule> rules;
};

std::vector<ReadProperty> readProperties(const SPPHRASEPROPERTY* property)
{
    std::vector<ReadProperty> read;
    for (; property; property = property->pNextSibling)
        read.push_back({SapiFakes::narrow(property->pszName), SapiFakes::narrow(property->pszValue),
                        property->vValue.lVal, property->vValue.vt, property->ulFirstElement,
                        property->ulCountOfElements, readProperties(property->pFirstChild)});
    return read;
}

std::vector<ReadRule> readRules(const SPPHRASERULE* rule)
{
    std::vector<ReadRule> read;
    for (; rule; rule = rule->pNextSibling)
        read.push_back({SapiFakes::narrow(rule->pszName), rule->ulId, rule->ulFirstElement, rule->ulCountOfElements,
                        readRules(rule->pFirstChild)});
    return read;
}

class SpokenRules : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(CoCreateInstance(CLSID_SpInprocRecognizer, nullptr, CLSCTX_ALL, IID_ISpRecognizer,
                                   recognizer.putVoid()),
                  S_OK);
        ASSERT_EQ(recognizer->CreateRecoContext(context.put()), S_OK);
        ASSERT_EQ(context->SetInterest(SPFEI_ALL_SR_EVENTS, SPFEI_ALL_SR_EVENTS), S_OK);
        ASSERT_EQ(context->CreateGrammar(7, grammar.put()), S_OK);
        commands = rule("Commands", 3, SPRAF_TopLevel | SPRAF_Active);
    }
    void TearDown() override
    {
        grammar.reset();
        context.reset();
        recognizer.reset();
        EXPECT_EQ(SapiFakes::liveObjects(), 0);
        EXPECT_EQ(memory.blocksInUse(), 0u);
    }

    SPSTATEHANDLE rule(const std::string& name, DWORD id, DWORD attributes)
    {
        SPSTATEHANDLE state = nullptr;
        EXPECT_EQ(grammar->GetRule(SapiFakes::wide(name).c_str(), id, attributes, TRUE, &state), S_OK);
        return state;
    }
    SPSTATEHANDLE state(SPSTATEHANDLE in)
    {
        SPSTATEHANDLE made = nullptr;
        EXPECT_EQ(grammar->CreateNewState(in, &made), S_OK);
        return made;
    }
    HRESULT words(SPSTATEHANDLE from, SPSTATEHANDLE to, const std::string& text,
                  const SPPROPERTYINFO* property = nullptr)
    {
        return grammar->AddWordTransition(from, to, SapiFakes::wide(text).c_str(), SapiFakes::wide(" ").c_str(),
                                          SPWT_LEXICAL, 1.0f, property);
    }
    HRESULT empty(SPSTATEHANDLE from, SPSTATEHANDLE to)
    {
        return grammar->AddWordTransition(from, to, nullptr, nullptr, SPWT_LEXICAL, 1.0f, nullptr);
    }
    HRESULT refer(SPSTATEHANDLE from, SPSTATEHANDLE to, SPSTATEHANDLE target, const SPPROPERTYINFO* property = nullptr)
    {
        return grammar->AddRuleTransition(from, to, target, 1.0f, property);
    }

    // A property holding a text, a number or both; the strings live with
    // the test.
    const SPPROPERTYINFO* property(const std::string& name, const std::string& value, VARTYPE type = VT_EMPTY,
                                   LONG number = 0)
    {
        texts.push_back(SapiFakes::wide(name));
        const WCHAR* namePointer = texts.back().c_str();
        texts.push_back(SapiFakes::wide(value));
        properties.push_back(SPPROPERTYINFO{});
        SPPROPERTYINFO& info = properties.back();
        info.pszName = namePointer;
        info.pszValue = texts.back().c_str();
        VariantInit(&info.vValue);
        info.vValue.vt = type;
        info.vValue.lVal = number;
        return &info;
    }

    // The results queued on the context, read as the back end reads them.
    std::vector<ReadResult> results()
    {
        std::vector<ReadResult> read;
        SPEVENT event = {};
        ULONG fetched = 0;
        while (context->GetEvents(1, &event, &fetched) == S_OK && fetched == 1) {
            auto* result = event.elParamType == SPET_LPARAM_IS_OBJECT ? reinterpret_cast<ISpRecoResult*>(event.lParam)
                                                                       : nullptr;
            SPPHRASE* phrase = nullptr;
            if (result && SUCCEEDED(result->GetPhrase(&phrase))) {
                ReadResult one;
                one.id = static_cast<SPEVENTENUM>(event.eEventId);
                one.ruleId = phrase->Rule.ulId;
                for (ULONG i = 0; i < phrase->Rule.ulCountOfElements; ++i) {
                    one.words.push_back(SapiFakes::narrow(phrase->pElements[i].pszLexicalForm));
                    one.required.push_back(phrase->pElements[i].RequiredConfidence);
                }
                one.properties = readProperties(phrase->pProperties);
                one.rules = readRules(phrase->Rule.pFirstChild);
                WCHAR* text = nullptr;
                if (SUCCEEDED(result->GetText(SP_GETWHOLEPHRASE, SP_GETWHOLEPHRASE, TRUE, &text, nullptr)))
                    one.text = SapiFakes::narrow(text);
                CoTaskMemFree(text);
                CoTaskMemFree(phrase);
                read.push_back(one);
            }
            SapiFakes::freeFakeEventParameter(event);
        }
        return read;
    }
    // The one recognition `words` give.
    ReadResult recognized(const std::string& spoken)
    {
        EXPECT_EQ(world.say(spoken), SPEI_RECOGNITION) << spoken;
        for (const ReadResult& result : results())
            if (result.id == SPEI_RECOGNITION)
                return result;
        return ReadResult();
    }
    SPEVENTENUM heard(const std::string& spoken)
    {
        const SPEVENTENUM ending = world.say(spoken);
        results();
        return ending;
    }

    SapiFakes::SapiWorld world;
    SapiFakes::TaskMemoryWatch memory;
    KSR::ComPtr<ISpRecognizer> recognizer;
    KSR::ComPtr<ISpRecoContext> context;
    KSR::ComPtr<ISpRecoGrammar> grammar;
    SPSTATEHANDLE commands = nullptr;
    std::list<KSR::WideString> texts;
    std::list<SPPROPERTYINFO> properties;
};

using Words = std::vector<std::string>;

}  // namespace

TEST_F(SpokenRules, WordsThroughStatesAreOnePhraseWhenTheySpanTheRule)
{
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+go"), S_OK);
    ASSERT_EQ(words(middle, nullptr, "to line"), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    const ReadResult result = recognized("go to line");
    EXPECT_EQ(result.ruleId, 3u);
    EXPECT_EQ(result.text, "go to line");
    EXPECT_EQ(result.words, (Words{"go", "to", "line"}));
    EXPECT_EQ(result.required, (std::vector<signed char>{SP_HIGH_CONFIDENCE, SP_NORMAL_CONFIDENCE, SP_NORMAL_CONFIDENCE}));
    EXPECT_TRUE(result.properties.empty());
    EXPECT_TRUE(result.rules.empty());
    EXPECT_EQ(heard("go"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(heard("go to line now"), SPEI_FALSE_RECOGNITION);
}

TEST_F(SpokenRules, AnEmptyTransitionLetsAPartBeLeftOut)
{
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+go"), S_OK);
    ASSERT_EQ(words(middle, nullptr, "now"), S_OK);
    ASSERT_EQ(empty(middle, nullptr), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    EXPECT_EQ(recognized("go").words, Words{"go"});
    EXPECT_EQ(recognized("go now").words, (Words{"go", "now"}));
}

TEST_F(SpokenRules, AReferredRuleIsAChildRuleAndItsPropertiesAreChildrenOfTheReferencesProperty)
{
    const SPSTATEHANDLE colours = rule("colours", 0, SPRAF_Dynamic);
    ASSERT_EQ(words(colours, nullptr, "+red", property("colours", "#f00")), S_OK);
    ASSERT_EQ(words(colours, nullptr, "+light blue", property("colours", "#00f")), S_OK);
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+turn"), S_OK);
    ASSERT_EQ(refer(middle, nullptr, colours, property("Default_Property", "turn", VT_I4, 5)), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);

    const ReadResult result = recognized("turn light blue");
    EXPECT_EQ(result.words, (Words{"turn", "light", "blue"}));
    ASSERT_EQ(result.properties.size(), 1u);
    const ReadProperty& command = result.properties[0];
    EXPECT_EQ(command.name, "Default_Property");
    EXPECT_EQ(command.number, 5);
    EXPECT_EQ(command.type, VT_I4);
    EXPECT_EQ(command.first, 1u);
    EXPECT_EQ(command.count, 2u);
    ASSERT_EQ(command.children.size(), 1u);
    EXPECT_EQ(command.children[0].name, "colours");
    EXPECT_EQ(command.children[0].value, "#00f");
    EXPECT_EQ(command.children[0].type, VT_EMPTY);
    EXPECT_EQ(command.children[0].first, 1u);
    EXPECT_EQ(command.children[0].count, 2u);
    ASSERT_EQ(result.rules.size(), 1u);
    EXPECT_EQ(result.rules[0].name, "colours");
    EXPECT_EQ(result.rules[0].id, 0u);
    EXPECT_EQ(result.rules[0].first, 1u);
    EXPECT_EQ(result.rules[0].count, 2u);
    EXPECT_EQ(heard("turn green"), SPEI_FALSE_RECOGNITION);
}

TEST_F(SpokenRules, PropertiesOfARuleReferredToWithoutAPropertyStayAtTheLevelOfTheReference)
{
    const SPSTATEHANDLE colours = rule("colours", 0, SPRAF_Dynamic);
    ASSERT_EQ(words(colours, nullptr, "+red", property("colours", "#f00")), S_OK);
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+turn"), S_OK);
    ASSERT_EQ(refer(middle, nullptr, colours), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    const ReadResult result = recognized("turn red");
    ASSERT_EQ(result.properties.size(), 1u);
    EXPECT_EQ(result.properties[0].value, "#f00");
    EXPECT_EQ(result.properties[0].first, 1u);
    EXPECT_EQ(result.properties[0].count, 1u);
    EXPECT_TRUE(result.properties[0].children.empty());
}

TEST_F(SpokenRules, RulesReferToRulesAndTheChildRulesNest)
{
    const SPSTATEHANDLE digit = rule("digit", 0, SPRAF_Dynamic);
    ASSERT_EQ(words(digit, nullptr, "+one"), S_OK);
    ASSERT_EQ(words(digit, nullptr, "+two"), S_OK);
    const SPSTATEHANDLE pair = rule("pair", 0, SPRAF_Dynamic);
    const SPSTATEHANDLE second = state(pair);
    ASSERT_EQ(refer(pair, second, digit), S_OK);
    ASSERT_EQ(refer(second, nullptr, digit), S_OK);
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+call"), S_OK);
    ASSERT_EQ(refer(middle, nullptr, pair), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    const ReadResult result = recognized("call two one");
    ASSERT_EQ(result.rules.size(), 1u);
    EXPECT_EQ(result.rules[0].name, "pair");
    EXPECT_EQ(result.rules[0].first, 1u);
    EXPECT_EQ(result.rules[0].count, 2u);
    ASSERT_EQ(result.rules[0].children.size(), 2u);
    EXPECT_EQ(result.rules[0].children[1].name, "digit");
    EXPECT_EQ(result.rules[0].children[1].first, 2u);
    EXPECT_EQ(result.rules[0].children[1].count, 1u);
}

// SAPI needs the grammar's dictation topic for dictated words inside a rule;
// loading it does not switch free dictation on.
TEST_F(SpokenRules, ADictationTransitionTakesAnyOneWordOnceTheTopicIsLoaded)
{
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+find"), S_OK);
    ASSERT_EQ(refer(middle, nullptr, SPRULETRANS_DICTATION), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    EXPECT_EQ(heard("find Paris"), SPEI_FALSE_RECOGNITION);
    ASSERT_EQ(grammar->LoadDictation(nullptr, SPLO_STATIC), S_OK);
    const ReadResult result = recognized("find Paris");
    EXPECT_EQ(result.words, (Words{"find", "Paris"}));
    EXPECT_EQ(result.required, (std::vector<signed char>{SP_HIGH_CONFIDENCE, SP_NORMAL_CONFIDENCE}));
    EXPECT_TRUE(result.rules.empty());
    EXPECT_EQ(heard("find new york"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(heard("Paris"), SPEI_FALSE_RECOGNITION);
}

TEST_F(SpokenRules, HypothesesFollowThePathIntoReferredRules)
{
    const SPSTATEHANDLE colours = rule("colours", 0, SPRAF_Dynamic);
    ASSERT_EQ(words(colours, nullptr, "+light blue", property("colours", "#00f")), S_OK);
    const SPSTATEHANDLE middle = state(commands);
    ASSERT_EQ(words(commands, middle, "+turn"), S_OK);
    ASSERT_EQ(refer(middle, nullptr, colours, property("Default_Property", "turn", VT_I4, 5)), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    EXPECT_EQ(world.say(Utterance("turn light blue").withHypotheses()), SPEI_RECOGNITION);
    const std::vector<ReadResult> read = results();
    ASSERT_EQ(read.size(), 3u);
    EXPECT_EQ(read[0].id, SPEI_HYPOTHESIS);
    EXPECT_EQ(read[0].words, Words{"turn"});
    EXPECT_TRUE(read[0].properties.empty());
    EXPECT_EQ(read[1].id, SPEI_HYPOTHESIS);
    EXPECT_EQ(read[1].words, (Words{"turn", "light"}));
    ASSERT_EQ(read[1].properties.size(), 1u);
    EXPECT_EQ(read[1].properties[0].number, 5);
    EXPECT_EQ(read[1].properties[0].count, 1u);
    ASSERT_EQ(read[1].properties[0].children.size(), 1u);
    EXPECT_EQ(read[1].properties[0].children[0].value, "#00f");
    EXPECT_EQ(read[2].id, SPEI_RECOGNITION);
}

TEST_F(SpokenRules, AClearedRuleIsHeardAsCommittedUntilTheNextCommit)
{
    const SPSTATEHANDLE colours = rule("colours", 0, SPRAF_Dynamic);
    const SPSTATEHANDLE shade = state(colours);
    ASSERT_EQ(words(colours, shade, "+dark"), S_OK);
    ASSERT_EQ(words(shade, nullptr, "+red"), S_OK);
    ASSERT_EQ(refer(commands, nullptr, colours), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    ASSERT_EQ(grammar->ClearRule(colours), S_OK);
    ASSERT_EQ(words(colours, nullptr, "+green"), S_OK);
    EXPECT_EQ(heard("dark red"), SPEI_RECOGNITION);
    EXPECT_EQ(heard("green"), SPEI_FALSE_RECOGNITION);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    EXPECT_EQ(heard("dark red"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(heard("green"), SPEI_RECOGNITION);
    // The states made in the rule went with it; its initial state stays.
    EXPECT_EQ(words(shade, nullptr, "+blue"), E_INVALIDARG);
    EXPECT_EQ(words(colours, nullptr, "+blue"), S_OK);
}

TEST_F(SpokenRules, SapiRefusesTransitionsBetweenRulesAndToUnknownStates)
{
    const SPSTATEHANDLE other = rule("other", 0, SPRAF_Dynamic);
    const SPSTATEHANDLE middle = state(commands);
    EXPECT_EQ(words(commands, other, "+go"), E_INVALIDARG);
    EXPECT_EQ(empty(other, middle), E_INVALIDARG);
    EXPECT_EQ(refer(commands, nullptr, middle), E_INVALIDARG);
    SPSTATEHANDLE made = nullptr;
    EXPECT_EQ(grammar->CreateNewState(nullptr, &made), E_INVALIDARG);
    EXPECT_EQ(grammar->ClearRule(nullptr), E_INVALIDARG);
    EXPECT_EQ(refer(middle, nullptr, other), S_OK);
}

TEST_F(SpokenRules, TheCallLogNamesStatesRulesAndEmptyTransitions)
{
    const SPSTATEHANDLE colours = rule("colours", 0, SPRAF_Dynamic);
    SapiFakes::CallLog::clear();
    const SPSTATEHANDLE middle = state(commands);
    empty(commands, middle);
    refer(middle, nullptr, colours, property("Default_Property", "turn", VT_I4, 5));
    refer(middle, nullptr, SPRULETRANS_DICTATION);
    grammar->ClearRule(colours);
    EXPECT_EQ(SapiFakes::CallLog::calls(),
              (Words{"Grammar[7].CreateNewState(start of Commands)",
                     "Grammar[7].AddWordTransition(start of Commands, state 1 of Commands, null, null, SPWT_LEXICAL, 1, "
                     "null)",
                     "Grammar[7].AddRuleTransition(state 1 of Commands, end, rule colours, 1, {Default_Property, 0, "
                     "turn, vt 3 = 5})",
                     "Grammar[7].AddRuleTransition(state 1 of Commands, end, dictation, 1, null)",
                     "Grammar[7].ClearRule(colours)"}));
}

// A grammar can loop on empty transitions; the recognizer is not caught in
// it.
TEST_F(SpokenRules, AnEmptyLoopIsNoPath)
{
    const SPSTATEHANDLE first = state(commands);
    const SPSTATEHANDLE second = state(commands);
    ASSERT_EQ(words(commands, first, "+go"), S_OK);
    ASSERT_EQ(empty(first, second), S_OK);
    ASSERT_EQ(empty(second, first), S_OK);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    EXPECT_EQ(heard("go"), SPEI_FALSE_RECOGNITION);
}
