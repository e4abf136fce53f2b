// The recognizer double hears what a test says as SAPI does: against the
// word transitions committed through the SAPI interfaces, in the rule,
// grammar and recognizer states of the moment, with results built as SAPI
// documents them. Everything here goes through the SAPI interfaces, as
// the back end does.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "com_memory.h"
#include "grammar_words.h"
#include "ksr_com_ptr.h"
#include "sapi_world.h"

using SapiFakes::GrammarWord;
using SapiFakes::Utterance;

namespace {

struct HeardElement {
    std::string text;
    signed char required;
    float confidence;
    BYTE attributes;
};

// One event as the application reads it, with its result's phrase and text.
struct HeardEvent {
    SPEVENTENUM id = SPEI_UNDEFINED;
    bool hasResult = false;
    ULONGLONG grammarId = 0;
    ULONG ruleId = 0;
    std::string ruleName;
    std::string text;
    std::vector<HeardElement> elements;
    std::vector<SapiFakes::PhraseProperty> properties;
};

bool operator==(const HeardElement& a, const HeardElement& b)
{
    return a.text == b.text && a.required == b.required && a.confidence == b.confidence &&
           a.attributes == b.attributes;
}

void PrintTo(const HeardElement& element, std::ostream* out)
{
    *out << "{\"" << element.text << "\", " << int(element.required) << ", " << element.confidence << ", "
         << int(element.attributes) << "}";
}

class SpokenPhrases : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(CoCreateInstance(CLSID_SpInprocRecognizer, nullptr, CLSCTX_ALL, IID_ISpRecognizer,
                                   recognizer.putVoid()),
                  S_OK);
        context = newContext();
        grammar = newGrammar(context, 7);
        commands = rule(grammar, "Commands", 3);
    }
    void TearDown() override
    {
        grammar.reset();
        context.reset();
        recognizer.reset();
        EXPECT_EQ(SapiFakes::liveObjects(), 0);
        EXPECT_EQ(memory.blocksInUse(), 0u);
    }

    KSR::ComPtr<ISpRecoContext> newContext()
    {
        KSR::ComPtr<ISpRecoContext> made;
        EXPECT_EQ(recognizer->CreateRecoContext(made.put()), S_OK);
        EXPECT_EQ(made->SetInterest(SPFEI_ALL_SR_EVENTS, SPFEI_ALL_SR_EVENTS), S_OK);
        return made;
    }
    static KSR::ComPtr<ISpRecoGrammar> newGrammar(const KSR::ComPtr<ISpRecoContext>& owner, ULONGLONG id)
    {
        KSR::ComPtr<ISpRecoGrammar> made;
        EXPECT_EQ(owner->CreateGrammar(id, made.put()), S_OK);
        return made;
    }
    // An active top-level rule.
    static SPSTATEHANDLE rule(const KSR::ComPtr<ISpRecoGrammar>& owner, const std::string& name, DWORD id)
    {
        SPSTATEHANDLE state = nullptr;
        EXPECT_EQ(owner->GetRule(SapiFakes::wide(name).c_str(), id, SPRAF_TopLevel | SPRAF_Active, TRUE, &state), S_OK);
        return state;
    }
    // A word transition to the rule's end carrying `value` as its property.
    static void addWords(const KSR::ComPtr<ISpRecoGrammar>& owner, SPSTATEHANDLE from, const std::string& written,
                         const std::string& value, LONG number, ULONG ruleId)
    {
        const KSR::WideString text = SapiFakes::wide(written);
        const KSR::WideString name = SapiFakes::wide("Default_Property");
        const KSR::WideString propertyValue = SapiFakes::wide(value);
        const KSR::WideString separators = SapiFakes::wide(" ");
        SPPROPERTYINFO property = {};
        property.pszName = name.c_str();
        property.ulId = ruleId;
        property.pszValue = propertyValue.c_str();
        VariantInit(&property.vValue);
        property.vValue.vt = VT_I4;
        property.vValue.lVal = number;
        EXPECT_EQ(owner->AddWordTransition(from, nullptr, text.c_str(), separators.c_str(), SPWT_LEXICAL, 1.0f,
                                           &property),
                  S_OK);
    }
    void addCommand(const std::string& written, const std::string& value, LONG number)
    {
        addWords(grammar, commands, written, value, number, 3);
        ASSERT_EQ(grammar->Commit(0), S_OK);
    }

    // Takes every queued event of `from`, reading each result as the back
    // end does, and frees what the events carried.
    static std::vector<HeardEvent> drain(const KSR::ComPtr<ISpRecoContext>& from)
    {
        std::vector<HeardEvent> heard;
        SPEVENT event = {};
        ULONG fetched = 0;
        while (from->GetEvents(1, &event, &fetched) == S_OK && fetched == 1) {
            HeardEvent one;
            one.id = static_cast<SPEVENTENUM>(event.eEventId);
            auto* result = event.elParamType == SPET_LPARAM_IS_OBJECT ? reinterpret_cast<ISpRecoResult*>(event.lParam)
                                                                       : nullptr;
            SPPHRASE* phrase = nullptr;
            if (result && SUCCEEDED(result->GetPhrase(&phrase))) {
                one.hasResult = true;
                one.grammarId = phrase->ullGrammarID;
                one.ruleId = phrase->Rule.ulId;
                one.ruleName = SapiFakes::narrow(phrase->Rule.pszName);
                for (ULONG i = 0; i < phrase->Rule.ulCountOfElements; ++i) {
                    const SPPHRASEELEMENT& element = phrase->pElements[i];
                    one.elements.push_back({SapiFakes::narrow(element.pszDisplayText), element.RequiredConfidence,
                                            element.SREngineConfidence, element.bDisplayAttributes});
                }
                for (const SPPHRASEPROPERTY* property = phrase->pProperties; property;
                     property = property->pNextSibling)
                    one.properties.push_back({SapiFakes::narrow(property->pszName), property->ulId,
                                              SapiFakes::narrow(property->pszValue), property->vValue.lVal,
                                              property->vValue.vt});
                WCHAR* text = nullptr;
                if (SUCCEEDED(result->GetText(SP_GETWHOLEPHRASE, SP_GETWHOLEPHRASE, TRUE, &text, nullptr)))
                    one.text = SapiFakes::narrow(text);
                CoTaskMemFree(text);
                CoTaskMemFree(phrase);
            }
            SapiFakes::freeFakeEventParameter(event);
            heard.push_back(one);
        }
        return heard;
    }
    // A command said after `off` ends as `whileOff`; said again after `on`,
    // it is recognized.
    void expectHeardOnlyWhenOn(const std::function<HRESULT()>& off, const std::function<HRESULT()>& on,
                               SPEVENTENUM whileOff)
    {
        addCommand("+open", "open", 0);
        ASSERT_EQ(off(), S_OK);
        EXPECT_EQ(world.say("open"), whileOff);
        const auto events = ids(drain(context));
        EXPECT_EQ(std::count(events.begin(), events.end(), SPEI_PHRASE_START), whileOff == SPEI_UNDEFINED ? 0 : 1);
        ASSERT_EQ(on(), S_OK);
        EXPECT_EQ(world.say("open"), SPEI_RECOGNITION);
        drain(context);
    }
    static std::vector<SPEVENTENUM> ids(const std::vector<HeardEvent>& events)
    {
        std::vector<SPEVENTENUM> list;
        for (const auto& event : events)
            list.push_back(event.id);
        return list;
    }

    SapiFakes::SapiWorld world;
    SapiFakes::TaskMemoryWatch memory;
    KSR::ComPtr<ISpRecognizer> recognizer;
    KSR::ComPtr<ISpRecoContext> context;
    KSR::ComPtr<ISpRecoGrammar> grammar;
    SPSTATEHANDLE commands = nullptr;
};

}  // namespace

TEST(GrammarWords, PrefixesAskForAConfidenceAndAreNotPartOfTheWord)
{
    const auto read = [](const std::string& text) {
        std::vector<std::pair<std::string, int>> words;
        for (const GrammarWord& word : SapiFakes::grammarWords(text, " "))
            words.emplace_back(word.text, word.requiredConfidence);
        return words;
    };
    using Words = std::vector<std::pair<std::string, int>>;
    EXPECT_EQ(read("+open file"), (Words{{"open", 1}, {"file", 0}}));
    EXPECT_EQ(read("open file"), (Words{{"open", 0}, {"file", 0}}));
    EXPECT_EQ(read("-open +file"), (Words{{"open", -1}, {"file", 1}}));
    // Each prefix character overrides the one before.
    EXPECT_EQ(read("-+open"), (Words{{"open", 1}}));
    EXPECT_EQ(read("+-open"), (Words{{"open", -1}}));
    EXPECT_EQ(read("  open   file "), (Words{{"open", 0}, {"file", 0}}));
    EXPECT_EQ(read("+ open"), (Words{{"open", 0}}));
}

TEST(GrammarWords, WithoutSeparatorsTheTextIsOneWord)
{
    const auto words = SapiFakes::grammarWords("+open file", "");
    ASSERT_EQ(words.size(), 1u);
    EXPECT_EQ(words[0].text, "open file");
    EXPECT_EQ(words[0].requiredConfidence, SP_HIGH_CONFIDENCE);
}

TEST_F(SpokenPhrases, ACommittedCommandIsRecognizedAsSapiReportsIt)
{
    addCommand("+open file", "open file", 5);
    EXPECT_EQ(world.say(Utterance("open file", 0.7f).wordConfidences({0.7f, 0.4f})), SPEI_RECOGNITION);
    const auto events = drain(context);
    ASSERT_EQ(ids(events), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_RECOGNITION}));
    EXPECT_FALSE(events[0].hasResult);
    const HeardEvent& recognition = events[1];
    EXPECT_EQ(recognition.grammarId, 7u);
    EXPECT_EQ(recognition.ruleId, 3u);
    EXPECT_EQ(recognition.ruleName, "Commands");
    EXPECT_EQ(recognition.text, "open file");
    EXPECT_EQ(recognition.elements, (std::vector<HeardElement>{{"open", SP_HIGH_CONFIDENCE, 0.7f, SPAF_ONE_TRAILING_SPACE},
                                                              {"file", SP_NORMAL_CONFIDENCE, 0.4f, SPAF_ONE_TRAILING_SPACE}}));
    ASSERT_EQ(recognition.properties.size(), 1u);
    EXPECT_EQ(recognition.properties[0].name, "Default_Property");
    EXPECT_EQ(recognition.properties[0].id, 3u);
    EXPECT_EQ(recognition.properties[0].value, "open file");
    EXPECT_EQ(recognition.properties[0].type, VT_I4);
    EXPECT_EQ(recognition.properties[0].number, 5);
}

TEST_F(SpokenPhrases, TheLowPrefixOfTwoCharactersAsksForHighConfidence)
{
    addCommand("-+close", "close", 0);
    addCommand("-quit", "quit", 1);
    world.say("close");
    world.say("quit");
    const auto events = drain(context);
    ASSERT_EQ(events.size(), 4u);
    ASSERT_EQ(events[1].elements.size(), 1u);
    EXPECT_EQ(events[1].text, "close");
    EXPECT_EQ(events[1].elements[0].required, SP_HIGH_CONFIDENCE);
    ASSERT_EQ(events[3].elements.size(), 1u);
    EXPECT_EQ(events[3].text, "quit");
    EXPECT_EQ(events[3].elements[0].required, SP_LOW_CONFIDENCE);
}

TEST_F(SpokenPhrases, WordsCompareWithoutCaseAndTheGrammarsSpellingIsReported)
{
    addCommand("+Open File", "Open File", 0);
    EXPECT_EQ(world.say("open FILE"), SPEI_RECOGNITION);
    const auto events = drain(context);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].text, "Open File");
}

TEST_F(SpokenPhrases, WordsNothingListensForAreAFalseRecognition)
{
    addCommand("+open file", "open file", 0);
    EXPECT_EQ(world.say("open"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(world.say("open file now"), SPEI_FALSE_RECOGNITION);
    const auto events = drain(context);
    ASSERT_EQ(ids(events), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_FALSE_RECOGNITION, SPEI_PHRASE_START,
                                                     SPEI_FALSE_RECOGNITION}));
    // The result carries the words heard, and no grammar, rule or property.
    EXPECT_TRUE(events[3].hasResult);
    EXPECT_EQ(events[3].grammarId, 0u);
    EXPECT_EQ(events[3].ruleId, 0u);
    EXPECT_EQ(events[3].text, "open file now");
    EXPECT_TRUE(events[3].properties.empty());
}

TEST_F(SpokenPhrases, WordsAddedButNotCommittedAreNotHeard)
{
    addWords(grammar, commands, "+open", "open", 0, 3);
    EXPECT_EQ(world.say("open"), SPEI_FALSE_RECOGNITION);
    ASSERT_EQ(grammar->Commit(0), S_OK);
    EXPECT_EQ(world.say("open"), SPEI_RECOGNITION);
    drain(context);
}

TEST_F(SpokenPhrases, AnInactiveRuleIsNotHeard)
{
    const KSR::WideString name = SapiFakes::wide("Commands");
    expectHeardOnlyWhenOn([&] { return grammar->SetRuleState(nullptr, nullptr, SPRS_INACTIVE); },
                          [&] { return grammar->SetRuleState(name.c_str(), nullptr, SPRS_ACTIVE); },
                          SPEI_FALSE_RECOGNITION);
}

TEST_F(SpokenPhrases, ADisabledGrammarIsNotHeard)
{
    expectHeardOnlyWhenOn([&] { return grammar->SetGrammarState(SPGS_DISABLED); },
                          [&] { return grammar->SetGrammarState(SPGS_ENABLED); }, SPEI_FALSE_RECOGNITION);
}

TEST_F(SpokenPhrases, AnInactiveRecognizerHearsNothing)
{
    expectHeardOnlyWhenOn([&] { return recognizer->SetRecoState(SPRST_INACTIVE); },
                          [&] { return recognizer->SetRecoState(SPRST_ACTIVE_ALWAYS); }, SPEI_UNDEFINED);
}

TEST_F(SpokenPhrases, SilenceIsNoPhrase)
{
    EXPECT_EQ(world.say(""), SPEI_UNDEFINED);
    EXPECT_TRUE(drain(context).empty());
}

TEST_F(SpokenPhrases, HypothesesFollowTheWordsOfTheCommandTheyBegin)
{
    addCommand("+open the file", "open the file", 2);
    EXPECT_EQ(world.say(Utterance("open the file", 0.8f).withHypotheses()), SPEI_RECOGNITION);
    const auto events = drain(context);
    ASSERT_EQ(ids(events), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_HYPOTHESIS, SPEI_HYPOTHESIS,
                                                     SPEI_RECOGNITION}));
    EXPECT_EQ(events[1].text, "open");
    EXPECT_EQ(events[1].elements, (std::vector<HeardElement>{{"open", SP_HIGH_CONFIDENCE, 0.8f, SPAF_ONE_TRAILING_SPACE}}));
    ASSERT_EQ(events[1].properties.size(), 1u);
    EXPECT_EQ(events[1].properties[0].number, 2);
    EXPECT_EQ(events[2].text, "open the");
    EXPECT_EQ(events[3].text, "open the file");
}

TEST_F(SpokenPhrases, AnUnfinishedUtteranceGivesHypothesesOnly)
{
    addCommand("+open file", "open file", 0);
    EXPECT_EQ(world.say(Utterance("open file").withHypotheses().unfinished()), SPEI_UNDEFINED);
    const auto events = drain(context);
    ASSERT_EQ(ids(events), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_HYPOTHESIS, SPEI_HYPOTHESIS}));
    EXPECT_EQ(events[2].text, "open file");
}

TEST_F(SpokenPhrases, WordsThatLeaveTheGrammarGiveNoMoreHypotheses)
{
    addCommand("+open file", "open file", 0);
    EXPECT_EQ(world.say(Utterance("open window now").withHypotheses()), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(ids(drain(context)), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_HYPOTHESIS,
                                                             SPEI_FALSE_RECOGNITION}));
}

TEST_F(SpokenPhrases, ActiveDictationTakesAnyWordsAndCommandsComeFirst)
{
    addCommand("+open file", "open file", 0);
    auto dictation = newGrammar(context, 9);
    ASSERT_EQ(dictation->LoadDictation(nullptr, SPLO_STATIC), S_OK);
    EXPECT_EQ(world.say("dear sir"), SPEI_FALSE_RECOGNITION);
    ASSERT_EQ(dictation->SetDictationState(SPRS_ACTIVE), S_OK);
    EXPECT_EQ(world.say("Dear Sir", 0.6f), SPEI_RECOGNITION);
    EXPECT_EQ(world.say("open file"), SPEI_RECOGNITION);
    const auto events = drain(context);
    ASSERT_EQ(events.size(), 6u);
    const HeardEvent& dictated = events[3];
    EXPECT_EQ(dictated.grammarId, 9u);
    EXPECT_EQ(dictated.ruleId, 0u);
    EXPECT_EQ(dictated.text, "Dear Sir");
    EXPECT_TRUE(dictated.properties.empty());
    EXPECT_EQ(dictated.elements, (std::vector<HeardElement>{{"Dear", SP_NORMAL_CONFIDENCE, 0.6f, SPAF_ONE_TRAILING_SPACE},
                                                           {"Sir", SP_NORMAL_CONFIDENCE, 0.6f, SPAF_ONE_TRAILING_SPACE}}));
    EXPECT_EQ(events[5].grammarId, 7u);
    ASSERT_EQ(dictation->SetGrammarState(SPGS_DISABLED), S_OK);
    EXPECT_EQ(world.say("dear sir"), SPEI_FALSE_RECOGNITION);
    drain(context);
}

TEST_F(SpokenPhrases, TheLowestGrammarIdAndRuleIdWinAPhraseHeldTwice)
{
    auto other = newGrammar(context, 5);
    const SPSTATEHANDLE second = rule(other, "Second", 20);
    const SPSTATEHANDLE first = rule(other, "First", 4);
    addWords(other, second, "+open", "open", 1, 20);
    addWords(other, first, "+open", "open", 2, 4);
    ASSERT_EQ(other->Commit(0), S_OK);
    addCommand("+open", "open", 3);
    world.say("open");
    const auto events = drain(context);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].grammarId, 5u);
    EXPECT_EQ(events[1].ruleId, 4u);
    ASSERT_EQ(events[1].properties.size(), 1u);
    EXPECT_EQ(events[1].properties[0].number, 2);
}

TEST_F(SpokenPhrases, AnExclusiveGrammarShutsTheOthersOut)
{
    addCommand("+open", "open", 0);
    auto exclusive = newGrammar(context, 8);
    addWords(exclusive, rule(exclusive, "Only", 30), "close", "close", 0, 30);
    ASSERT_EQ(exclusive->Commit(0), S_OK);
    ASSERT_EQ(exclusive->SetGrammarState(SPGS_EXCLUSIVE), S_OK);
    EXPECT_EQ(world.say("open"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(world.say("close"), SPEI_RECOGNITION);
    drain(context);
}

TEST_F(SpokenPhrases, TheOtherContextsOfTheRecognizerHearOfTheRecognition)
{
    auto second = newContext();
    auto secondGrammar = newGrammar(second, 11);
    addWords(secondGrammar, rule(secondGrammar, "Elsewhere", 40), "+save", "save", 0, 40);
    ASSERT_EQ(secondGrammar->Commit(0), S_OK);
    EXPECT_EQ(world.say("save"), SPEI_RECOGNITION);
    EXPECT_EQ(ids(drain(context)), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_RECO_OTHER_CONTEXT}));
    const auto events = drain(second);
    ASSERT_EQ(ids(events), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_RECOGNITION}));
    EXPECT_EQ(events[1].grammarId, 11u);

    EXPECT_EQ(world.say("nothing"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(ids(drain(context)), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_FALSE_RECOGNITION}));
    EXPECT_EQ(ids(drain(second)), (std::vector<SPEVENTENUM>{SPEI_PHRASE_START, SPEI_FALSE_RECOGNITION}));
    secondGrammar.reset();
    second.reset();
}

TEST_F(SpokenPhrases, OnlyEventsInTheQueuedInterestAreQueued)
{
    addCommand("+open file", "open file", 0);
    ASSERT_EQ(context->SetInterest(SPFEI(SPEI_RECOGNITION), SPFEI(SPEI_RECOGNITION)), S_OK);
    EXPECT_EQ(world.say(Utterance("open file").withHypotheses()), SPEI_RECOGNITION);
    EXPECT_EQ(ids(drain(context)), std::vector<SPEVENTENUM>{SPEI_RECOGNITION});
}
