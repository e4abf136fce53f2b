// KSR_Manager: commands with arguments. The tests speak to the recognizer
// double, which hears what the patterns' rules committed to SAPI; the
// manager matches the words SAPI proposes against the command's pattern.

#include "manager_test.h"
#include "sr_data_compare.h"

using SapiFakes::Utterance;
namespace Script = SapiFakes::Script;

namespace {

using Texts = std::vector<std::string>;

class ManagerPatterns : public ManagerTest {
protected:
    void SetUp() override
    {
        build();
        grammar = manager->addCommandGrammar("");
        rule = manager->addRule(grammar, "Commands");
        ASSERT_TRUE(manager->setList("colours", {{"red", "#ff0000"}, {"Dark Red", "#8b0000"}, {"blue", "#0000ff"}}));
        line = manager->addCommandPattern(rule, "go to line <line:number 1..10000>");
        select = manager->addCommandPattern(rule, "select <count:number 1..20> [more] words");
        turn = manager->addCommandPattern(rule, "turn <colour:list colours>");
        call = manager->addCommandPattern(rule, "call <code:digits 3..6>");
        spell = manager->addCommandPattern(rule, "word <spelled:letters 1..8>");
        find = manager->addCommandPattern(rule, "find <query:text 1..4> [now]");
        save = manager->addCommand(rule, "save file");
        manager->setActivated(grammar, true);
        pump();
        log.clear();
        clearCalls();
    }

    // The one recognition of `words` said with full confidence, with its
    // one argument.
    KSR::Argument onlyArgumentOf(const std::string& words)
    {
        manager->recognitions.clear();
        say(words);
        EXPECT_EQ(manager->recognitions.size(), 1u) << words;
        if (manager->recognitions.size() != 1u)
            return KSR::Argument();
        const KSR::SRData& heard = manager->recognitions[0];
        EXPECT_EQ(heard.text, words);
        EXPECT_EQ(heard.arguments.size(), 1u) << words;
        return heard.arguments.empty() ? KSR::Argument() : heard.arguments[0];
    }
    // Said, the words are no command: a failed recognition, nothing else.
    void expectNoCommand(const std::string& words)
    {
        const int failures = manager->failures;
        manager->recognitions.clear();
        say(words);
        EXPECT_EQ(manager->failures, failures + 1) << words;
        EXPECT_TRUE(manager->recognitions.empty()) << words;
    }
    std::string addFails(const std::string& pattern)
    {
        log.clear();
        EXPECT_EQ(manager->addCommandPattern(rule, pattern), KSR::InvalidCommandId) << pattern;
        const Texts lines = log.logs();
        EXPECT_EQ(lines.size(), 1u) << pattern;
        EXPECT_TRUE(log.errors().empty()) << pattern;
        return lines.empty() ? std::string() : lines[0];
    }

    KSR::GrammarId grammar = 0;
    KSR::RuleId rule = 0;
    KSR::CommandId line = -1, select = -1, turn = -1, call = -1, spell = -1, find = -1, save = -1;
};

}  // namespace

TEST_F(ManagerPatterns, PatternsTakeCommandIdsBesideCommandsAndAreNamedByTheirText)
{
    EXPECT_EQ((std::vector<KSR::CommandId>{line, select, turn, call, spell, find, save}),
              (std::vector<KSR::CommandId>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(manager->getAvailableCommandNames(grammar),
              (Texts{"call <code:digits 3..6>", "find <query:text 1..4> [now]", "go to line <line:number 1..10000>",
                     "save file", "select <count:number 1..20> [more] words", "turn <colour:list colours>",
                     "word <spelled:letters 1..8>"}));
}

TEST_F(ManagerPatterns, ANumberSaidNaturallyArrivesWithItsValueWordsAndConfidence)
{
    say(Utterance("go to line forty two").wordConfidences({1.0f, 1.0f, 1.0f, 0.97f, 0.93f}));
    ASSERT_EQ(manager->recognitions.size(), 1u);
    const KSR::SRData& heard = manager->recognitions[0];
    EXPECT_EQ(heard, KSR::srData(grammar, rule, line, "go to line forty two"));
    ASSERT_EQ(heard.arguments.size(), 1u);
    const KSR::Argument& value = heard.arguments[0];
    EXPECT_EQ(value.name, "line");
    EXPECT_EQ(value.type, KSR::SlotType::Number);
    EXPECT_EQ(value.number, 42);
    EXPECT_EQ(value.words, "forty two");
    EXPECT_EQ(value.firstWord, 3u);
    EXPECT_EQ(value.wordCount, 2u);
    EXPECT_EQ(value.confidence, 93);
    EXPECT_EQ(log.logs(), Texts{"Recognized: go to line forty two gID:101 rID:11 cID:0"});
}

TEST_F(ManagerPatterns, EverySlotTypeGivesItsExactValue)
{
    const struct {
        std::string words;
        KSR::SlotType type;
        long long number;
        std::string text;
    } cases[] = {
        {"go to line four two", KSR::SlotType::Number, 42, ""},
        {"go to line one hundred and five", KSR::SlotType::Number, 105, ""},
        {"go to line one", KSR::SlotType::Number, 1, ""},
        {"go to line ten thousand", KSR::SlotType::Number, 10000, ""},
        {"go to line one oh oh oh oh", KSR::SlotType::Number, 10000, ""},
        {"select twenty words", KSR::SlotType::Number, 20, ""},
        {"select one more words", KSR::SlotType::Number, 1, ""},
        {"call zero zero seven", KSR::SlotType::Digits, 0, "007"},
        {"call oh four two one five nine", KSR::SlotType::Digits, 0, "042159"},
        {"turn dark red", KSR::SlotType::List, 0, "#8b0000"},
        {"turn blue", KSR::SlotType::List, 0, "#0000ff"},
        {"word c a t", KSR::SlotType::Letters, 0, "cat"},
        {"find the red house now", KSR::SlotType::Text, 0, "the red house"},
        {"find paris", KSR::SlotType::Text, 0, "paris"},
    };
    for (const auto& one : cases) {
        const KSR::Argument value = onlyArgumentOf(one.words);
        EXPECT_EQ(value.type, one.type) << one.words;
        EXPECT_EQ(value.number, one.number) << one.words;
        EXPECT_EQ(value.text, one.text) << one.words;
    }
    EXPECT_EQ(manager->failures, 0);
}

TEST_F(ManagerPatterns, WordsPastTheEdgesOfARangeAreNoCommand)
{
    // SAPI hears number words; the value decides.
    EXPECT_EQ(say("go to line zero"), SPEI_RECOGNITION);
    EXPECT_EQ(say("go to line ten thousand and one"), SPEI_RECOGNITION);
    expectNoCommand("go to line zero");
    expectNoCommand("go to line ten thousand and one");
    expectNoCommand("select twenty one words");
    expectNoCommand("go to line forty forty");
    // Too few or too many digits or letters: SAPI does not hear them at all.
    EXPECT_EQ(say("call four two"), SPEI_FALSE_RECOGNITION);
    expectNoCommand("call four two");
    expectNoCommand("call one two three four five six seven");
    expectNoCommand("word a b c d e f g h i");
    expectNoCommand("turn green");
    const Texts failures(static_cast<std::size_t>(manager->failures), "Recognition failed...");
    EXPECT_EQ(log.logs(), failures);
}

TEST_F(ManagerPatterns, DigitsKeepTheirLeadingZerosAndTheirWords)
{
    const KSR::Argument code = onlyArgumentOf("call zero zero seven");
    EXPECT_EQ(code.name, "code");
    EXPECT_EQ(code.text, "007");
    EXPECT_EQ(code.words, "zero zero seven");
    EXPECT_EQ(code.firstWord, 1u);
    EXPECT_EQ(code.wordCount, 3u);
    EXPECT_EQ(code.confidence, 100);
}

TEST_F(ManagerPatterns, ATextSlotTakesTheFreeWordsUpToTheEnd)
{
    const KSR::Argument query = onlyArgumentOf("find new york");
    EXPECT_EQ(query.text, "new york");
    EXPECT_EQ(query.wordCount, 2u);
}

// SAPI reports the words as it heard them; the module matches them in lower
// case, as the pattern's words are.
TEST_F(ManagerPatterns, PatternWordsAreLowerCasedButSlotNamesAreNot)
{
    const KSR::CommandId volume = manager->addCommandPattern(rule, "Volume <Level:number 0..100>");
    ASSERT_EQ(volume, 7);
    EXPECT_EQ(world.grammar(grammar)->transitions().back().propertyValue, "volume <Level:number 0..100>");
    const KSR::Argument level = onlyArgumentOf("volume zero");
    EXPECT_EQ(level.name, "Level");
    EXPECT_EQ(level.number, 0);
    manager->recognitions.clear();
    say("FIND Paris");
    ASSERT_EQ(manager->recognitions.size(), 1u);
    EXPECT_EQ(manager->recognitions[0].text, "find paris");
    ASSERT_EQ(manager->recognitions[0].arguments.size(), 1u);
    EXPECT_EQ(manager->recognitions[0].arguments[0].text, "paris");
}

TEST_F(ManagerPatterns, EachBadPatternIsRefusedWithOneLineThatNamesItsProblem)
{
    const std::string prefix = "Command pattern \"";
    EXPECT_EQ(addFails("go to line <n:number 10..5>"),
              prefix + "go to line <n:number 10..5>\" cannot be added: the range 10..5 is empty in <n:number 10..5>");
    EXPECT_EQ(addFails("turn <c:list fruits>"),
              prefix + "turn <c:list fruits>\" cannot be added: no list \"fruits\" in <c:list fruits>: set it with "
                       "setList first");
    EXPECT_EQ(addFails("turn (red | blue"),
              prefix + "turn (red | blue\" cannot be added: unbalanced brackets: \"(\" without \")\"");
    EXPECT_EQ(addFails("call <a:number 1..9> <b:number 1..9>"),
              prefix + "call <a:number 1..9> <b:number 1..9>\" cannot be added: <a> and <b> are number slots side by "
                       "side: where one ends and the other begins cannot be told");
    EXPECT_EQ(addFails("turn ( | red)"), prefix + "turn ( | red)\" cannot be added: an empty alternative in \"( | )\"");
    EXPECT_EQ(addFails("find <q:text> <n:number 1..5>"),
              prefix + "find <q:text> <n:number 1..5>\" cannot be added: the text slot <q> must be followed by a "
                       "word or end the pattern");
    EXPECT_EQ(addFails("open <n:colour 1..5>"),
              prefix + "open <n:colour 1..5>\" cannot be added: unknown slot type \"colour\" in <n:colour 1..5> "
                       "(number, digits, list, letters or text)");
    EXPECT_EQ(addFails(""), prefix + "\" cannot be added: an empty pattern");
    EXPECT_TRUE(calls().empty());
    // The same pattern twice is SAPI's own "already added" error.
    log.clear();
    EXPECT_EQ(manager->addCommandPattern(rule, "go to line <line:number 1..10000>"), KSR::InvalidCommandId);
    EXPECT_EQ(log.errors(), Texts{"Command go to line <line:number 1..10000> has already been added to rule Commands"});
    // As addCommand: a rule no grammar has is refused without a word.
    log.clear();
    EXPECT_EQ(manager->addCommandPattern(rule + 100, "open"), KSR::InvalidCommandId);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(log.logs().empty());
}

TEST_F(ManagerPatterns, ListsAreKeptLowerCasedAndBadOnesRefusedWithOneLine)
{
    EXPECT_EQ(manager->list("colours"),
              (KSR::SpokenList{{"red", "#ff0000"}, {"dark red", "#8b0000"}, {"blue", "#0000ff"}}));
    EXPECT_TRUE(manager->list("sizes").empty());
    EXPECT_TRUE(manager->setList("sizes", {{"  Extra   Large ", "xl"}}));
    EXPECT_EQ(manager->list("sizes"), (KSR::SpokenList{{"extra large", "xl"}}));
    log.clear();
    EXPECT_FALSE(manager->setList("colours", {{"  ", "2"}}));
    EXPECT_FALSE(manager->setList("", {{"red", "3"}}));
    EXPECT_EQ(log.logs(), (Texts{"List \"colours\" cannot be set: an empty spoken form (for the value \"2\")",
                                 "List \"\" cannot be set: a list needs a name"}));
    EXPECT_EQ(manager->list("colours").size(), 3u);
}

TEST_F(ManagerPatterns, SettingAListWhileListeningChangesWhatIsHeard)
{
    ASSERT_EQ(world.recognizer()->recoState(), SPRST_ACTIVE);
    ASSERT_TRUE(manager->setList("colours", {{"green", "#00ff00"}, {"red", "#ee0000"}}));
    EXPECT_EQ(callsOf("Grammar[101]"),
              (Texts{"Grammar[101].ClearRule(ksr list colours)",
                     "Grammar[101].AddWordTransition(start of ksr list colours, end, \"+green\", \" \", SPWT_LEXICAL, "
                     "1, {colours, 0, #00ff00, vt 0 = 0})",
                     "Grammar[101].AddWordTransition(start of ksr list colours, end, \"+red\", \" \", SPWT_LEXICAL, 1, "
                     "{colours, 0, #ee0000, vt 0 = 0})",
                     "Grammar[101].Commit(0)"}));
    EXPECT_EQ(onlyArgumentOf("turn green").text, "#00ff00");
    EXPECT_EQ(onlyArgumentOf("turn red").text, "#ee0000");
    EXPECT_EQ(say("turn blue"), SPEI_FALSE_RECOGNITION);
    EXPECT_EQ(manager->failures, 1);
}

TEST_F(ManagerPatterns, AListOfPatternsInTwoGrammarsChangesInBoth)
{
    const KSR::GrammarId other = manager->addCommandGrammar("");
    const KSR::RuleId otherRule = manager->addRule(other, "Paint");
    ASSERT_EQ(manager->addCommandPattern(otherRule, "paint <colour:list colours>"), 0);
    manager->setActivated(other, true);
    ASSERT_TRUE(manager->setList("colours", {{"green", "#00ff00"}}));
    EXPECT_EQ(onlyArgumentOf("turn green").text, "#00ff00");
    EXPECT_EQ(onlyArgumentOf("paint green").text, "#00ff00");
    EXPECT_EQ(manager->recognitions[0], KSR::srData(other, otherRule, 0, "paint green"));
}

TEST_F(ManagerPatterns, AListSapiRefusesIsOneErrorAndFalse)
{
    Script::failOnce("Grammar.Commit", E_FAIL);
    EXPECT_FALSE(manager->setList("colours", {{"green", "#00ff00"}}));
    EXPECT_EQ(log.errors(), Texts{"Could not give list colours to grammar! (Error code:80004005)"});
    EXPECT_TRUE(log.logs().empty());
}

TEST_F(ManagerPatterns, CommandsAndPatternsOfOneRuleListenSideBySide)
{
    say("save file");
    say("turn red");
    ASSERT_EQ(manager->recognitions.size(), 2u);
    EXPECT_EQ(manager->recognitions[0], KSR::srData(grammar, rule, save, "save file"));
    EXPECT_TRUE(manager->recognitions[0].arguments.empty());
    EXPECT_EQ(manager->recognitions[1], KSR::srData(grammar, rule, turn, "turn red"));
    EXPECT_EQ(manager->recognitions[1].arguments.size(), 1u);
}

TEST_F(ManagerPatterns, AHypothesisCarriesTheValuesOnceItsWordsAreTheCommand)
{
    say(Utterance("go to line forty two").withHypotheses());
    ASSERT_EQ(manager->hypotheses.size(), 4u);
    EXPECT_EQ(manager->hypotheses[0], KSR::srData(grammar, rule, line, "go"));
    EXPECT_TRUE(manager->hypotheses[0].arguments.empty());
    EXPECT_EQ(manager->hypotheses[2], KSR::srData(grammar, rule, line, "go to line"));
    EXPECT_TRUE(manager->hypotheses[2].arguments.empty());
    EXPECT_EQ(manager->hypotheses[3], KSR::srData(grammar, rule, line, "go to line forty"));
    ASSERT_EQ(manager->hypotheses[3].arguments.size(), 1u);
    EXPECT_EQ(manager->hypotheses[3].arguments[0].number, 40);
    // A hypothesis's confidences are no judgement yet.
    EXPECT_EQ(manager->hypotheses[3].arguments[0].confidence, 0);
    ASSERT_EQ(manager->recognitions.size(), 1u);
    EXPECT_EQ(manager->recognitions[0].arguments[0].number, 42);
    EXPECT_EQ(manager->recognitions[0].arguments[0].confidence, 100);
}

TEST_F(ManagerPatterns, ARemovedPatternIsNotReportedAndComesBackWithItsId)
{
    ASSERT_TRUE(manager->removeCommand(rule, line));
    EXPECT_EQ(say(Utterance("go to line five").withHypotheses()), SPEI_RECOGNITION);
    EXPECT_TRUE(manager->recognitions.empty());
    EXPECT_TRUE(manager->hypotheses.empty());
    EXPECT_EQ(manager->failures, 0);
    EXPECT_EQ(manager->addCommandPattern(rule, "go to line <line:number 1..10000>"), line);
    EXPECT_EQ(onlyArgumentOf("go to line five").number, 5);
}

// Commands ask SAPI for high confidence, patterns too.
TEST_F(ManagerPatterns, APatternHeardBelowTheCommandConfidenceIsNotReported)
{
    EXPECT_EQ(say("go to line five", 0.89f), SPEI_RECOGNITION);
    EXPECT_TRUE(manager->recognitions.empty());
    EXPECT_EQ(manager->failures, 0);
    EXPECT_EQ(onlyArgumentOf("go to line five").number, 5);
}

TEST_F(ManagerPatterns, ASlotIsAsSureAsItsLeastSureWord)
{
    say(Utterance("select nineteen more words").wordConfidences({0.95f, 0.8f, 0.1f, 0.9f}));
    ASSERT_EQ(manager->recognitions.size(), 1u);
    ASSERT_EQ(manager->recognitions[0].arguments.size(), 1u);
    EXPECT_EQ(manager->recognitions[0].arguments[0].confidence, 80);
    manager->recognitions.clear();
    say(Utterance("call one two three four").wordConfidences({0.95f, 0.61f, 0.6f, 0.605f, 0.7f}));
    ASSERT_EQ(manager->recognitions.size(), 1u);
    EXPECT_EQ(manager->recognitions[0].arguments[0].confidence, 60);
}

// Without the words SAPI heard, the values cannot be read: no command.
TEST_F(ManagerPatterns, AResultWithoutItsWordsIsNoCommand)
{
    manager->mainRecognitionFunction(KSR::srData(grammar, rule, line, "go to line five"));
    EXPECT_TRUE(manager->recognitions.empty());
    EXPECT_EQ(manager->failures, 1);
    manager->mainRecognitionFunction(KSR::srData(grammar, rule, save, "save file"));
    EXPECT_EQ(manager->recognitions, std::vector<KSR::SRData>{KSR::srData(grammar, rule, save, "save file")});
}

TEST_F(ManagerPatterns, AKeyedGrammarsPatternsAreHeardOnlyWhileItIsOn)
{
    const KSR::GrammarId keyed = manager->addCommandGrammar("north");
    const KSR::RuleId keyedRule = manager->addRule(keyed, "Moves");
    ASSERT_EQ(manager->addCommandPattern(keyedRule, "volume <level:number 0..100>"), 0);
    EXPECT_EQ(say("volume fifty"), SPEI_FALSE_RECOGNITION);
    say("north");
    EXPECT_EQ(onlyArgumentOf("volume fifty").number, 50);
    EXPECT_EQ(manager->recognitions[0], KSR::srData(keyed, keyedRule, 0, "volume fifty"));
}
