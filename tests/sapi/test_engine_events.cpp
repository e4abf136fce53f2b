// KSR_Engine::processSREvents: one event per call, every kind of event, the
// confidence test, one delivery per property, and the freeing of every
// event parameter. Results come from words said to the recognizer double
// against grammars built as the back end builds them; scripted results
// stand for what those grammars cannot give, and for result objects whose
// references a test follows.

#include <cstring>

#include "ksr_sapi_grammar.h"
#include "sapi_test.h"
#include "sr_data_compare.h"

using SapiFakes::commandPhrase;
using SapiFakes::FakeResult;
using SapiFakes::PhraseSpec;
using SapiFakes::Utterance;
namespace Script = SapiFakes::Script;

namespace {

class EngineEvents : public SapiTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(engine.initialize());
        engine.setRecognitionFunction([this](KSR::SRData data) { recognitions.push_back(data); });
        engine.setHypothesisFunction([this](KSR::SRData data) { hypotheses.push_back(data); });
        engine.setRecognitionFailedFunction([this]() { ++failures; });
        engine.setRecoStateChangedFunction([this](bool on) { states.push_back(on); });
        clearCalls();
    }
    void TearDown() override
    {
        grammars.clear();
        holder.reset();
        SapiTest::TearDown();
    }

    // A grammar on the engine's context, as the manager makes one.
    KSR_Grammar& grammar(KSR::GrammarId id)
    {
        auto made = std::make_unique<KSR_Grammar>();
        made->setId(id);
        KSR::ComPtr<ISpRecoGrammar> sapiGrammar;
        EXPECT_EQ(engine.recoContext()->CreateGrammar(id, sapiGrammar.put()), S_OK);
        made->setSapiGrammar(sapiGrammar);
        grammars.push_back(std::move(made));
        return *grammars.back();
    }
    // Grammar 101, switched on, with a rule "Commands" (id 10) holding
    // `phrases` (command ids from 0) at `confidence`.
    KSR::RuleId commands(const std::vector<std::string>& phrases, KSR::RequiredConfidence confidence = KSR::High)
    {
        KSR_Grammar& made = grammar(101);
        const KSR::RuleId rule = made.addRule("Commands");
        for (const auto& phrase : phrases)
            EXPECT_GE(made.addCommand(rule, phrase, confidence), 0);
        EXPECT_TRUE(made.setActivated(true));
        clearCalls();
        return rule;
    }
    // Says words to the recognizer and handles every event SAPI queues.
    void say(const Utterance& utterance)
    {
        world.say(utterance);
        processAll(engine);
    }
    void say(const std::string& words, float confidence = 1.0f) { say(Utterance(words, confidence)); }

    SapiFakes::FakeContext& context() { return *world.context(); }
    void push(SPEVENTENUM id, const PhraseSpec& scripted)
    {
        auto result = FakeResult::make(scripted);
        ASSERT_TRUE(context().pushResult(id, result.get()));
    }
    bool nothingDelivered() const
    {
        return recognitions.empty() && hypotheses.empty() && failures == 0 && states.empty();
    }

    std::unique_ptr<KSR_Engine> holder = std::make_unique<KSR_Engine>(false);
    KSR_Engine& engine = *holder;
    std::vector<std::unique_ptr<KSR_Grammar>> grammars;
    std::vector<KSR::SRData> recognitions;
    std::vector<KSR::SRData> hypotheses;
    int failures = 0;
    std::vector<bool> states;
};

}  // namespace

TEST(EngineNotInitialized, ProcessingEventsOnlyLogs)
{
    SapiFakes::SapiWorld world;
    LogCapture log;
    KSR_Engine engine(false);
    bool called = false;
    engine.setRecognitionFailedFunction([&called]() { called = true; });
    engine.processSREvents();
    EXPECT_EQ(log.errors(), std::vector<std::string>{"K_SpeechRecognition was not initialized!"});
    EXPECT_TRUE(SapiFakes::CallLog::calls().empty());
    EXPECT_FALSE(called);
}

TEST_F(EngineEvents, NoEventMeansNoCallback)
{
    engine.processSREvents();
    EXPECT_EQ(context().getEventsCalls(), 1);
    EXPECT_TRUE(nothingDelivered());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(EngineEvents, FailedGetEventsIsQuiet)
{
    context().pushSimple(SPEI_FALSE_RECOGNITION);
    Script::failOnce("Context.GetEvents", E_FAIL);
    engine.processSREvents();
    EXPECT_TRUE(nothingDelivered());
    EXPECT_TRUE(log.lines().empty());
    engine.processSREvents();
    EXPECT_EQ(failures, 1);
}

TEST_F(EngineEvents, TheNotificationEventIsWaitedOn)
{
    context().pushSimple(SPEI_FALSE_RECOGNITION);
    HANDLE handle = context().eventHandle();
    engine.processSREvents();
    // The auto-reset event was consumed by the engine's wait.
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_TIMEOUT);
    EXPECT_EQ(failures, 1);
}

TEST_F(EngineEvents, OneEventPerCall)
{
    context().pushSimple(SPEI_FALSE_RECOGNITION);
    context().pushSimple(SPEI_FALSE_RECOGNITION);
    engine.processSREvents();
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(context().queued(), 1u);
    engine.processSREvents();
    EXPECT_EQ(failures, 2);
}

TEST_F(EngineEvents, StateChangeReportsWhetherTheRecognizerIsOn)
{
    context().pushStateChange(SPRST_INACTIVE);
    context().pushStateChange(SPRST_ACTIVE);
    context().pushStateChange(SPRST_ACTIVE_ALWAYS);
    context().pushStateChange(SPRST_INACTIVE_WITH_PURGE);
    processAll(engine);
    EXPECT_EQ(states, (std::vector<bool>{false, true, true, true}));
}

TEST_F(EngineEvents, RecognizerStateChangesArriveAsEvents)
{
    ASSERT_TRUE(engine.setEngineActivated(false));
    ASSERT_TRUE(engine.setEngineActivated(true));
    processAll(engine);
    EXPECT_EQ(states, (std::vector<bool>{false, true}));
}

TEST_F(EngineEvents, RecognitionIsDeliveredWithGrammarRuleCommandAndText)
{
    const KSR::RuleId rule = commands({"close file", "open file"});
    world.say("open file");
    engine.processSREvents();  // the phrase start
    EXPECT_TRUE(calls().empty());
    engine.processSREvents();
    EXPECT_EQ(recognitions, std::vector<KSR::SRData>{KSR::srData(101, rule, 1, "open file")});
    EXPECT_TRUE(hypotheses.empty());
    EXPECT_EQ(calls(), (std::vector<std::string>{"Result.GetPhrase", "Result.GetText(0xffffffff, 0xffffffff, 1, null)"}));
}

TEST_F(EngineEvents, HypothesisGoesToTheHypothesisFunction)
{
    const KSR::RuleId rule = commands({"open file"});
    say(Utterance("open").withHypotheses().unfinished());
    EXPECT_EQ(hypotheses, std::vector<KSR::SRData>{KSR::srData(101, rule, 0, "open")});
    EXPECT_TRUE(recognitions.empty());
}

TEST_F(EngineEvents, FalseRecognitionCallsTheFailedFunction)
{
    commands({"open file"});
    say("open the door");
    EXPECT_EQ(failures, 1);
    EXPECT_TRUE(recognitions.empty());
    EXPECT_TRUE(hypotheses.empty());
}

TEST_F(EngineEvents, EqualConfidenceIsAcceptedOneAboveIsDropped)
{
    commands({"open"}, KSR::Normal);
    say("open", 0.5f);
    EXPECT_EQ(recognitions.size(), 1u);

    ASSERT_TRUE(engine.setConfidenceThreshold(KSR::Normal, 51));
    context().dropQueuedEvents();
    say("open", 0.5f);
    EXPECT_EQ(recognitions.size(), 1u);
    EXPECT_TRUE(log.lines().empty());
}

// The prefixes the grammar writes, as SAPI reads them: "+" high, none
// normal, and "-+" high again (the "+" comes last).
TEST_F(EngineEvents, EachCommandConfidenceMeetsTheThresholdItsPrefixSelects)
{
    // Low 20, normal 50, high 50 (read from the normal property) then 90.
    ASSERT_TRUE(engine.setConfidenceThreshold(KSR::High, 90));
    context().dropQueuedEvents();
    KSR_Grammar& made = grammar(101);
    const KSR::RuleId rule = made.addRule("Commands");
    ASSERT_EQ(made.addCommand(rule, "go high", KSR::High), 0);
    ASSERT_EQ(made.addCommand(rule, "go normal", KSR::Normal), 1);
    ASSERT_EQ(made.addCommand(rule, "go low", KSR::Low), 2);
    ASSERT_TRUE(made.setActivated(true));
    const struct {
        const char* words;
        float confidence;
        bool accepted;
    } cases[] = {
        {"go high", 0.9f, true},     {"go high", 0.89f, false}, {"go normal", 0.5f, true},
        {"go normal", 0.49f, false}, {"go low", 0.9f, true},    {"go low", 0.89f, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.words) + " " + std::to_string(c.confidence));
        recognitions.clear();
        say(c.words, c.confidence);
        EXPECT_EQ(recognitions.size(), c.accepted ? 1u : 0u);
    }
}

// Low and out-of-range required confidences, which none of the back end's
// grammars asks for.
TEST_F(EngineEvents, AnyOtherRequiredConfidenceChoosesTheLowThreshold)
{
    const struct {
        signed char required;
        float confidence;
        bool accepted;
    } cases[] = {
        {SP_LOW_CONFIDENCE, 0.2f, true}, {SP_LOW_CONFIDENCE, 0.19f, false}, {5, 0.2f, true}, {-5, 0.19f, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.required) + " " + std::to_string(c.confidence));
        recognitions.clear();
        push(SPEI_RECOGNITION, commandPhrase(101, 11, 0, "go", c.required, c.confidence));
        engine.processSREvents();
        EXPECT_EQ(recognitions.size(), c.accepted ? 1u : 0u);
    }
}

TEST_F(EngineEvents, OnlyTheFirstWordCounts)
{
    commands({"open file"});
    say(Utterance("open file").wordConfidences({0.5f, 0.01f}));
    EXPECT_EQ(recognitions.size(), 1u);
    say(Utterance("open file").wordConfidences({0.49f, 1.0f}));
    EXPECT_EQ(recognitions.size(), 1u);
}

// A malformed result.
TEST_F(EngineEvents, PhraseWithoutElementsIsNotAccepted)
{
    PhraseSpec scripted = commandPhrase(101, 11, 0, "open");
    scripted.elements.clear();
    push(SPEI_RECOGNITION, scripted);
    engine.processSREvents();
    EXPECT_TRUE(recognitions.empty());
}

TEST_F(EngineEvents, DictationWithoutPropertiesIsDeliveredOnceWithCommandIdMinusOne)
{
    KSR_Grammar& dictation = grammar(105);
    ASSERT_TRUE(dictation.setDictationEnabled(true));
    ASSERT_TRUE(dictation.setActivated(true));
    say("some dictated words");
    EXPECT_EQ(recognitions, std::vector<KSR::SRData>{KSR::srData(105, 0, -1, "some dictated words")});
}

// Several top-level properties: no grammar of the back end gives them.
TEST_F(EngineEvents, EveryTopLevelPropertyGivesOneDeliveryInListOrder)
{
    PhraseSpec scripted = commandPhrase(101, 11, 4, "open file");
    scripted.properties.push_back({"Default_Property", 11, "open file", 9});
    scripted.properties.push_back({"Default_Property", 11, "open file", 2});
    push(SPEI_HYPOTHESIS, scripted);
    engine.processSREvents();
    EXPECT_EQ(hypotheses, (std::vector<KSR::SRData>{KSR::srData(101, 11, 4, "open file"), KSR::srData(101, 11, 9, "open file"),
                                                    KSR::srData(101, 11, 2, "open file")}));
}

TEST_F(EngineEvents, EachDeliveryGetsItsOwnCopy)
{
    engine.setRecognitionFunction([this](KSR::SRData data) {
        recognitions.push_back(data);
        data.text = "changed";
        data.grammarId = 0;
    });
    PhraseSpec scripted = commandPhrase(101, 11, 0, "close");
    scripted.properties.push_back({"Default_Property", 11, "close", 1});
    push(SPEI_RECOGNITION, scripted);
    engine.processSREvents();
    EXPECT_EQ(recognitions, (std::vector<KSR::SRData>{KSR::srData(101, 11, 0, "close"), KSR::srData(101, 11, 1, "close")}));
}

TEST_F(EngineEvents, TextKeepsTheLowByteOfEachUnit)
{
    commands({"caf\xC3\xA9 \xE2\x82\xAC"});
    say("caf\xC3\xA9 \xE2\x82\xAC");
    ASSERT_EQ(recognitions.size(), 1u);
    EXPECT_EQ(recognitions[0].text, std::string("caf\xE9 \xAC"));
}

TEST_F(EngineEvents, FailedTextGivesAnEmptyText)
{
    const KSR::RuleId rule = commands({"close", "open"});
    Script::failOnce("Result.GetText", E_FAIL);
    say("open");
    EXPECT_EQ(recognitions, std::vector<KSR::SRData>{KSR::srData(101, rule, 1, "")});
}

TEST_F(EngineEvents, FailedPhraseIsDroppedQuietly)
{
    commands({"open"});
    Script::failOnce("Result.GetPhrase", E_FAIL);
    say("open");
    EXPECT_TRUE(recognitions.empty());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(calls(), std::vector<std::string>{"Result.GetPhrase"});
}

TEST_F(EngineEvents, RecognitionWithoutResultObjectIsIgnored)
{
    SPEVENT event = {};
    event.eEventId = SPEI_RECOGNITION;
    event.elParamType = SPET_LPARAM_IS_OBJECT;
    event.lParam = 0;
    ASSERT_TRUE(context().push(event));
    engine.processSREvents();
    EXPECT_TRUE(nothingDelivered());
}

TEST_F(EngineEvents, EventsAskedForButNotUsedAreIgnored)
{
    for (SPEVENTENUM id : {SPEI_PHRASE_START, SPEI_INTERFERENCE, SPEI_RECO_OTHER_CONTEXT})
        ASSERT_TRUE(context().pushSimple(id));
    processAll(engine);
    EXPECT_TRUE(nothingDelivered());
    EXPECT_FALSE(context().pushSimple(SPEI_SOUND_START));
}

TEST_F(EngineEvents, ResultObjectsAreReleased)
{
    auto result = FakeResult::make(commandPhrase(101, 11, 0, "open"));
    ASSERT_TRUE(context().pushResult(SPEI_RECOGNITION, result.get()));
    EXPECT_EQ(result->references(), 2u);
    engine.processSREvents();
    EXPECT_EQ(result->references(), 1u);
}

TEST_F(EngineEvents, PointerAndStringParametersAreFreed)
{
    for (WORD type : {WORD(SPET_LPARAM_IS_POINTER), WORD(SPET_LPARAM_IS_STRING)}) {
        SPEVENT event = {};
        event.eEventId = SPEI_PHRASE_START;
        event.elParamType = static_cast<SPEVENTLPARAMTYPE>(type);
        event.lParam = reinterpret_cast<LPARAM>(CoTaskMemAlloc(32));
        ASSERT_TRUE(context().push(event));
    }
    EXPECT_EQ(memory.blocksInUse(), 2u);
    processAll(engine);
    EXPECT_EQ(memory.blocksInUse(), 0u);
}

TEST_F(EngineEvents, TokenParametersAreReleased)
{
    auto* token = new SapiFakes::FakeToken();
    SPEVENT event = {};
    event.eEventId = SPEI_RECO_OTHER_CONTEXT;
    event.elParamType = SPET_LPARAM_IS_TOKEN;
    event.lParam = reinterpret_cast<LPARAM>(static_cast<ISpObjectToken*>(token));
    ASSERT_TRUE(context().push(event));
    engine.processSREvents();
    EXPECT_EQ(callsOf("Token destroyed").size(), 1u);
}

TEST_F(EngineEvents, ResultOfAFalseRecognitionIsReleasedToo)
{
    auto result = FakeResult::make(commandPhrase(101, 11, 0, "open"));
    ASSERT_TRUE(context().pushResult(SPEI_FALSE_RECOGNITION, result.get()));
    engine.processSREvents();
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(result->references(), 1u);
}

TEST_F(EngineEvents, WithoutCallbacksEventsAreStillConsumed)
{
    KSR_Engine bare(false);
    ASSERT_TRUE(bare.initialize());
    auto result = FakeResult::make(commandPhrase(101, 11, 0, "open"));
    ASSERT_TRUE(world.context()->pushResult(SPEI_RECOGNITION, result.get()));
    ASSERT_TRUE(world.context()->pushResult(SPEI_HYPOTHESIS, result.get()));
    world.context()->pushSimple(SPEI_FALSE_RECOGNITION);
    world.context()->pushStateChange(SPRST_INACTIVE);
    processAll(bare);
    EXPECT_EQ(result->references(), 1u);
    EXPECT_TRUE(nothingDelivered());
}

TEST_F(EngineEvents, AnEmptyFunctionClearsTheSlot)
{
    engine.setRecognitionFailedFunction(nullptr);
    context().pushSimple(SPEI_FALSE_RECOGNITION);
    engine.processSREvents();
    EXPECT_EQ(failures, 0);
}

TEST_F(EngineEvents, EventsLeftInTheQueueAreFreedWithTheContext)
{
    auto result = FakeResult::make(commandPhrase(101, 11, 0, "open"));
    ASSERT_TRUE(context().pushResult(SPEI_RECOGNITION, result.get()));
    holder.reset();
    EXPECT_EQ(result->references(), 1u);
}
