// KSR_Grammar: commands with arguments as SAPI rules (a rule of its own for
// each pattern, shared rules for its slots, one rule per host list), with
// the exact SAPI calls and every failure message; and the pattern's
// structure as the builder reads it.

#include "common/command_pattern.h"
#include "common/spoken_number.h"
#include "ksr_sapi_grammar.h"
#include "sapi/pattern_rules.h"
#include "sapi_test.h"

using SapiFakes::FakeGrammar;
using SapiFakes::WordTransition;
namespace Script = SapiFakes::Script;

namespace {

using Lines = std::vector<std::string>;

class PatternGrammar : public SapiTest {
protected:
    void SetUp() override { ASSERT_TRUE(engine->initialize()); }
    void TearDown() override
    {
        grammars.clear();
        engine.reset();
        SapiTest::TearDown();
    }

    // A grammar with a SAPI grammar of the given id and one rule, as the
    // manager makes them.
    KSR_Grammar& make(KSR::GrammarId id)
    {
        auto grammar = std::make_unique<KSR_Grammar>();
        grammar->setId(id);
        KSR::ComPtr<ISpRecoGrammar> sapiGrammar;
        EXPECT_EQ(engine->recoContext()->CreateGrammar(id, sapiGrammar.put()), S_OK);
        grammar->setSapiGrammar(sapiGrammar);
        rule = grammar->addRule("Commands");
        grammars.push_back(std::move(grammar));
        clearCalls();
        return *grammars.back();
    }
    FakeGrammar& fake(KSR::GrammarId id) { return *world.grammar(id); }

    std::shared_ptr<const KSR::CommandPattern> pattern(const std::string& text)
    {
        std::set<std::string> names;
        for (const auto& list : lists)
            names.insert(list.first);
        std::string error;
        auto parsed = KSR::CommandPattern::parse(text, names, error);
        EXPECT_NE(parsed, nullptr) << error;
        return parsed;
    }
    int add(KSR_Grammar& grammar, const std::string& text)
    {
        return grammar.addCommandPattern(rule, pattern(text), lists);
    }
    // The transitions that leave the states of `owner`.
    std::vector<WordTransition> transitionsOf(KSR::GrammarId id, const std::string& owner)
    {
        std::vector<WordTransition> found;
        for (const WordTransition& transition : fake(id).transitions())
            if (transition.owner == owner)
                found.push_back(transition);
        return found;
    }
    std::size_t callsNaming(const std::string& text)
    {
        std::size_t count = 0;
        for (const std::string& call : calls())
            count += call.find(text) != std::string::npos ? 1 : 0;
        return count;
    }

    std::unique_ptr<KSR_Engine> engine = std::make_unique<KSR_Engine>(false);
    std::vector<std::unique_ptr<KSR_Grammar>> grammars;
    KSR::SpokenLists lists{{"colours", {{"red", "#ff0000"}, {"dark red", "#8b0000"}}}};
    KSR::RuleId rule = KSR::InvalidRuleId;
};

}  // namespace

TEST_F(PatternGrammar, APatternIsARuleOfItsOwnThatItsRuleRefersToWithTheCommandsProperty)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_EQ(add(grammar, "open [the] file"), 0);
    EXPECT_EQ(calls(),
              (Lines{"Grammar[100].GetRule(ksr pattern 0, 0, 0x20, 1)",
                     "Grammar[100].CreateNewState(start of ksr pattern 0)",
                     "Grammar[100].AddWordTransition(start of ksr pattern 0, state 1 of ksr pattern 0, \"+open\", \" \", "
                     "SPWT_LEXICAL, 1, null)",
                     "Grammar[100].CreateNewState(start of ksr pattern 0)",
                     "Grammar[100].AddWordTransition(state 1 of ksr pattern 0, state 2 of ksr pattern 0, \"+the\", \" "
                     "\", SPWT_LEXICAL, 1, null)",
                     "Grammar[100].AddWordTransition(state 1 of ksr pattern 0, state 2 of ksr pattern 0, null, null, "
                     "SPWT_LEXICAL, 1, null)",
                     "Grammar[100].AddWordTransition(state 2 of ksr pattern 0, end, \"+file\", \" \", SPWT_LEXICAL, 1, "
                     "null)",
                     "Grammar[100].AddRuleTransition(start of Commands, end, rule ksr pattern 0, 1, {Default_Property, "
                     "10, open [the] file, vt 3 = 0})",
                     "Grammar[100].Commit(0)"}));
    const auto command = grammar.getCommand(rule, 0);
    ASSERT_NE(command, nullptr);
    ASSERT_NE(command->pattern, nullptr);
    EXPECT_EQ(command->pattern->text(), "open [the] file");
    EXPECT_EQ(grammar.getCommand(rule, std::string("open [the] file")), command);
    ASSERT_TRUE(grammar.setRuleActivated(rule, true));
    EXPECT_EQ(grammar.getAvailableCommandNames(), Lines{"open [the] file"});
}

TEST_F(PatternGrammar, AlternativesAreParallelTransitions)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "(show | open the) file"), 0);
    const auto body = transitionsOf(100, "ksr pattern 0");
    ASSERT_EQ(body.size(), 4u);
    EXPECT_EQ(body[0].word, "+show");
    EXPECT_EQ(body[0].rule, "start of ksr pattern 0");
    EXPECT_EQ(body[1].word, "+open");
    EXPECT_EQ(body[1].rule, "start of ksr pattern 0");
    EXPECT_EQ(body[2].word, "+the");
    EXPECT_EQ(body[2].rule, "state 2 of ksr pattern 0");
    EXPECT_EQ(body[0].to, body[2].to);
    EXPECT_EQ(body[3].word, "+file");
    EXPECT_TRUE(body[3].toEnd);
}

TEST_F(PatternGrammar, SlotsReferToRulesSharedByThePatternsOfTheGrammar)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "go to line <line:number 1..100>"), 0);
    ASSERT_EQ(add(grammar, "page <page:number 1..100>"), 1);
    EXPECT_EQ(callsNaming("GetRule(ksr number words 1..5,"), 1u);
    const auto references = transitionsOf(100, "ksr pattern 1");
    ASSERT_EQ(references.size(), 2u);
    EXPECT_EQ(references[1].kind, WordTransition::Kind::Rule);
    EXPECT_EQ(references[1].target, "ksr number words 1..5");
    EXPECT_FALSE(references[1].hasProperty);
    // Any number word, one to five of them.
    const auto numbers = transitionsOf(100, "ksr number words 1..5");
    EXPECT_EQ(numbers.size(), 5 * KSR::SpokenNumber::vocabulary().size() + 4);
    EXPECT_EQ(numbers[0].word, "+zero");
}

TEST_F(PatternGrammar, EachSlotTypeHasItsRule)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "call <code:digits 3..6>"), 0);
    ASSERT_EQ(add(grammar, "spell <word:letters 1..8>"), 1);
    ASSERT_EQ(add(grammar, "turn <colour:list colours>"), 2);
    ASSERT_EQ(add(grammar, "find <query:text 1..3> now"), 3);
    const auto digits = transitionsOf(100, "ksr digits 3..6");
    // Eleven digit words ("oh" too) a step, six steps, the rule may end
    // after the third, fourth and fifth.
    EXPECT_EQ(digits.size(), 6 * 11 + 3u);
    const auto letters = transitionsOf(100, "ksr letters 1..8");
    EXPECT_EQ(letters.size(), 8 * 26 + 7u);
    EXPECT_EQ(letters[25].word, "+z");
    const auto colours = transitionsOf(100, "ksr list colours");
    ASSERT_EQ(colours.size(), 2u);
    EXPECT_EQ(colours[0].word, "+dark red");
    EXPECT_EQ(colours[0].words.size(), 2u);
    EXPECT_TRUE(colours[0].hasProperty);
    EXPECT_EQ(colours[0].propertyName, "colours");
    EXPECT_EQ(colours[0].propertyValue, "#8b0000");
    EXPECT_EQ(colours[0].valueType, VT_EMPTY);
    EXPECT_EQ(colours[1].propertyValue, "#ff0000");
    const auto text = transitionsOf(100, "ksr text 1..3");
    ASSERT_EQ(text.size(), 5u);
    EXPECT_EQ(text[0].kind, WordTransition::Kind::Dictation);
    EXPECT_EQ(text[1].kind, WordTransition::Kind::Empty);
    EXPECT_EQ(text[4].kind, WordTransition::Kind::Dictation);
    EXPECT_TRUE(text[4].toEnd);
}

TEST_F(PatternGrammar, ATextSlotLoadsDictationOnceWithoutSwitchingItOn)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "find <query:text>"), 0);
    ASSERT_EQ(add(grammar, "search <query:text 1..4> now"), 1);
    EXPECT_EQ(callsOf("Grammar[100].LoadDictation"), Lines{"Grammar[100].LoadDictation(null, SPLO_STATIC)"});
    EXPECT_TRUE(fake(100).dictationLoaded());
    EXPECT_EQ(fake(100).dictationState(), SPRS_INACTIVE);
    EXPECT_FALSE(grammar.isDictationEnabled());
    ASSERT_TRUE(grammar.setActivated(true));
    EXPECT_TRUE(callsOf("Grammar[100].SetDictationState").empty());
}

TEST_F(PatternGrammar, ANumberRuleTakesAsManyWordsAsTheLongestWayToSayOneInRange)
{
    EXPECT_EQ(KSR::PatternRuleBuilder::mostNumberWords(9), 5);
    EXPECT_EQ(KSR::PatternRuleBuilder::mostNumberWords(999), 5);
    EXPECT_EQ(KSR::PatternRuleBuilder::mostNumberWords(1000), 11);
    EXPECT_EQ(KSR::PatternRuleBuilder::mostNumberWords(999999999), 17);
}

TEST_F(PatternGrammar, SettingAListGivesItsRuleTheNewSpokenFormsAndCommits)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "turn <colour:list colours>"), 0);
    clearCalls();
    EXPECT_TRUE(grammar.setList("colours", {{"green", "#00ff00"}}));
    EXPECT_EQ(calls(), (Lines{"Grammar[100].ClearRule(ksr list colours)",
                              "Grammar[100].AddWordTransition(start of ksr list colours, end, \"+green\", \" \", "
                              "SPWT_LEXICAL, 1, {colours, 0, #00ff00, vt 0 = 0})",
                              "Grammar[100].Commit(0)"}));
    clearCalls();
    EXPECT_TRUE(grammar.setList("sizes", {{"small", "s"}}));
    EXPECT_TRUE(calls().empty());
}

TEST_F(PatternGrammar, AListSapiRefusesIsOneError)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "turn <colour:list colours>"), 0);
    Script::failOnce("Grammar.Commit", E_FAIL);
    EXPECT_FALSE(grammar.setList("colours", {{"green", "#00ff00"}}));
    EXPECT_EQ(log.errors(), Lines{"Could not give list colours to grammar! (Error code:80004005)"});
}

TEST_F(PatternGrammar, APatternAddedTwiceFailsAndARemovedOneComesBackWithItsId)
{
    KSR_Grammar& grammar = make(100);
    ASSERT_EQ(add(grammar, "go to line <line:number 1..100>"), 0);
    ASSERT_EQ(grammar.addCommand(rule, "save file", KSR::High), 1);
    clearCalls();
    EXPECT_EQ(add(grammar, "go to line <line:number 1..100>"), -1);
    EXPECT_EQ(log.errors(),
              Lines{"Command go to line <line:number 1..100> has already been added to rule Commands"});
    EXPECT_TRUE(grammar.removeCommand(rule, 0));
    EXPECT_EQ(add(grammar, "go to line <line:number 1..100>"), 0);
    EXPECT_TRUE(grammar.getCommand(rule, 0)->active);
    EXPECT_TRUE(calls().empty());
}

TEST_F(PatternGrammar, APatternNeedsARule)
{
    KSR_Grammar& grammar = make(100);
    EXPECT_EQ(grammar.addCommandPattern(rule + 1, pattern("open"), lists), -1);
    EXPECT_EQ(log.errors(), Lines{"You need to add a rule before you add a command!"});
    EXPECT_TRUE(calls().empty());
}

TEST_F(PatternGrammar, AFailedAdditionIsOneErrorAndTakesNoId)
{
    KSR_Grammar& grammar = make(100);
    Script::failOnce("Grammar.AddRuleTransition", E_FAIL);
    EXPECT_EQ(add(grammar, "open <n:number 1..5>"), -1);
    EXPECT_EQ(log.errors(), Lines{"Could not add command open <n:number 1..5>! (Error code:80004005)"});

    log.clear();
    Script::failOnce("Grammar.Commit", E_FAIL);
    EXPECT_EQ(add(grammar, "open <n:number 1..5>"), -1);
    EXPECT_EQ(log.errors(),
              Lines{"Could not commit command open <n:number 1..5> to grammar! (Error code:80004005)"});
    EXPECT_EQ(grammar.getCommand(rule, std::string("open <n:number 1..5>")), nullptr);

    log.clear();
    Script::failOnce("Grammar.LoadDictation", E_FAIL);
    EXPECT_EQ(add(grammar, "find <q:text>"), -1);
    EXPECT_EQ(log.errors(), Lines{"Could not load dictation for command find <q:text>!"});

    EXPECT_EQ(add(grammar, "close <n:number 1..5>"), 0);
}

// A slot rule SAPI refused part of is emptied and built whole by the next
// pattern that needs it.
TEST_F(PatternGrammar, ASlotRuleLeftHalfBuiltIsBuiltAfresh)
{
    KSR_Grammar& grammar = make(100);
    Script::answerOnce("Grammar.CreateNewState", S_OK);
    Script::answerOnce("Grammar.CreateNewState", S_OK);
    Script::failOnce("Grammar.CreateNewState", E_OUTOFMEMORY);
    EXPECT_EQ(add(grammar, "open <n:number 1..100>"), -1);
    EXPECT_EQ(log.errors(), Lines{"Could not add command open <n:number 1..100>! (Error code:8007000e)"});
    EXPECT_EQ(callsOf("Grammar[100].ClearRule"), Lines{"Grammar[100].ClearRule(ksr number words 1..5)"});
    EXPECT_EQ(add(grammar, "open <n:number 1..100>"), 0);
    EXPECT_EQ(transitionsOf(100, "ksr number words 1..5").size(), 5 * KSR::SpokenNumber::vocabulary().size() + 4);
}

TEST_F(PatternGrammar, WithoutSapiGrammarNothingIsAdded)
{
    KSR_Grammar grammar;
    EXPECT_EQ(grammar.addCommandPattern(10, pattern("open"), lists), -1);
    EXPECT_EQ(log.errors(), Lines{"You need to add a rule before you add a command!"});
    EXPECT_TRUE(grammar.setList("colours", {}));
    log.clear();
}

TEST(PatternItems, TheStructureOfAPatternIsReadBack)
{
    std::string error;
    const auto parsed = KSR::CommandPattern::parse(
        "(go | move) [to] <n:number 2..40> <c:list colours> <w:letters 1..3> <d:digits 3..4> <q:text> end",
        {"colours"}, error);
    ASSERT_TRUE(parsed) << error;
    const KSR::PatternItems& items = parsed->items();
    using Kind = KSR::PatternItem::Kind;
    ASSERT_EQ(items.size(), 8u);
    EXPECT_EQ(items[0].kind, Kind::Choice);
    ASSERT_EQ(items[0].alternatives.size(), 2u);
    EXPECT_EQ(items[0].alternatives[1][0].word, "move");
    EXPECT_EQ(items[1].kind, Kind::Optional);
    EXPECT_EQ(items[1].alternatives[0][0].word, "to");
    EXPECT_EQ(items[2].type, KSR::SlotType::Number);
    EXPECT_EQ(items[2].low, 2);
    EXPECT_EQ(items[2].high, 40);
    EXPECT_EQ(items[3].type, KSR::SlotType::List);
    EXPECT_EQ(items[3].list, "colours");
    EXPECT_EQ(items[4].type, KSR::SlotType::Letters);
    EXPECT_EQ(items[5].type, KSR::SlotType::Digits);
    EXPECT_EQ(items[5].low, 3);
    EXPECT_EQ(items[6].type, KSR::SlotType::Text);
    EXPECT_EQ(items[6].low, 1);
    EXPECT_EQ(items[6].high, KSR::CommandPattern::kDefaultTextWords);
    EXPECT_EQ(items[7].kind, Kind::Word);
    EXPECT_TRUE(parsed->hasText());
}
