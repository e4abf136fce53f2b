// Commands with arguments on the libvosk test double: patterns added beside
// phrases, the host's lists, the one log line of each bad pattern, and
// recognized words routed to their command with the values of its slots.
#include "common/spoken_number.h"
#include "manager_fixture.h"

using Strings = std::vector<std::string>;

namespace {

class Patterns : public ManagerTest {
protected:
    void SetUp() override
    {
        ManagerTest::SetUp();
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        std::set<std::string>& words = FakeVosk::state().vocabulary;
        for (const char* word : {"to", "turn", "red", "green", "blue", "dark", "call", "word", "words", "volume",
                                 "find", "more"})
            words.insert(word);
        for (const std::string& word : KSR::SpokenNumber::vocabulary())
            words.insert(word);
        for (char letter = 'a'; letter <= 'z'; ++letter)
            words.insert(std::string(1, letter));
    }

    // A dictation grammar, and grammar "patterns" with rule "moves" on.
    void build()
    {
        initialize();
        dictation = manager->addDictationGrammar("");
        grammar = manager->addCommandGrammar("");
        rule = manager->addRule(grammar, "moves");
        ASSERT_TRUE(manager->setList("colours", {{"red", "#ff0000"}, {"Dark Red", "#8b0000"}, {"blue", "#0000ff"}}));
        line = manager->addCommandPattern(rule, "go to line <line:number 1..10000>");
        select = manager->addCommandPattern(rule, "select <count:number 1..20> [more] words");
        turn = manager->addCommandPattern(rule, "turn <colour:list colours>");
        call = manager->addCommandPattern(rule, "call <code:digits 3..6>");
        spell = manager->addCommandPattern(rule, "word <spelled:letters 1..8>");
        save = manager->addCommand(rule, "save file");
        manager->setActivated(grammar, true);
        manager->startRecognizing();
        prime();
        log.clear();
    }

    // The one recognition so far, with its one argument.
    KSR::Argument onlyArgument()
    {
        const std::vector<KSR::SRData> heard = manager->recognitions();
        EXPECT_EQ(heard.size(), 1U);
        EXPECT_EQ(heard.empty() ? 0U : heard[0].arguments.size(), 1U);
        return heard.empty() || heard[0].arguments.empty() ? KSR::Argument() : heard[0].arguments[0];
    }

    // Whether a command recognizer took every scripted result.
    static bool heardEverything()
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        return FakeVosk::state().steps[static_cast<int>(FakeVosk::Kind::Command)].empty();
    }

    std::string addFails(const std::string& pattern)
    {
        log.clear();
        EXPECT_EQ(manager->addCommandPattern(rule, pattern), KSR::InvalidCommandId) << pattern;
        const Strings lines = log.logs();
        EXPECT_EQ(lines.size(), 1U) << pattern;
        return lines.empty() ? std::string() : lines[0];
    }

    KSR::GrammarId dictation = 0, grammar = 0;
    KSR::RuleId rule = 0;
    KSR::CommandId line = -1, select = -1, turn = -1, call = -1, spell = -1, save = -1;
};

}  // namespace

TEST_F(Patterns, PatternsTakeCommandIdsBesidePhrasesAndAreNamedByTheirText)
{
    build();
    EXPECT_EQ((std::vector<KSR::CommandId>{line, select, turn, call, spell, save}),
              (std::vector<KSR::CommandId>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(manager->getAvailableCommandNames(grammar),
              (Strings{"call <code:digits 3..6>", "go to line <line:number 1..10000>", "save file",
                       "select <count:number 1..20> [more] words", "turn <colour:list colours>",
                       "word <spelled:letters 1..8>"}));
}

TEST_F(Patterns, ANumberSaidNaturallyArrivesWithItsValueWordsAndConfidence)
{
    build();
    say(Json::final("go to line forty two", {"1.0", "1.0", "1.0", "0.97", "0.93"}));
    const std::vector<KSR::SRData> heard = manager->recognitions();
    ASSERT_EQ(heard.size(), 1U);
    EXPECT_EQ(heard[0], (KSR::SRData{grammar, rule, line, "go to line forty two"}));
    const KSR::Argument value = onlyArgument();
    EXPECT_EQ(value.name, "line");
    EXPECT_EQ(value.type, KSR::SlotType::Number);
    EXPECT_EQ(value.number, 42);
    EXPECT_EQ(value.words, "forty two");
    EXPECT_EQ(value.firstWord, 3U);
    EXPECT_EQ(value.wordCount, 2U);
    EXPECT_EQ(value.confidence, 93);
    EXPECT_EQ(log.logs(), (Strings{"Recognized: go to line forty two gID:" + std::to_string(grammar) +
                                   " rID:" + std::to_string(rule) + " cID:0"}));
}

TEST_F(Patterns, EverySlotTypeGivesItsValue)
{
    build();
    const struct {
        std::string words;
        KSR::SlotType type;
        long long number;
        std::string text;
    } cases[] = {
        {"go to line four two", KSR::SlotType::Number, 42, ""},
        {"go to line one hundred and five", KSR::SlotType::Number, 105, ""},
        {"go to line ten thousand", KSR::SlotType::Number, 10000, ""},
        {"go to line one", KSR::SlotType::Number, 1, ""},
        {"call zero zero four two", KSR::SlotType::Digits, 0, "0042"},
        {"call oh five oh one", KSR::SlotType::Digits, 0, "0501"},
        {"turn dark red", KSR::SlotType::List, 0, "#8b0000"},
        {"word c a t", KSR::SlotType::Letters, 0, "cat"},
    };
    for (const auto& spoken : cases) {
        manager->clearReports();
        prime();
        std::vector<std::string> confs;
        for (char c : spoken.words + " ")
            if (c == ' ')
                confs.push_back("1.0");
        say(Json::final(spoken.words, confs));
        const KSR::Argument value = onlyArgument();
        EXPECT_EQ(value.type, spoken.type) << spoken.words;
        EXPECT_EQ(value.number, spoken.number) << spoken.words;
        EXPECT_EQ(value.text, spoken.text) << spoken.words;
        EXPECT_EQ(value.confidence, 100) << spoken.words;
    }
}

TEST_F(Patterns, APastTheEdgeNumberLeftOverWordsOrAMissingSlotAreNoCommand)
{
    build();
    for (const char* words : {"go to line ten thousand one", "select twenty one words", "go to line",
                              "select three words save", "call four two", "turn dark blue"}) {
        log.clear();
        manager->clearReports();
        prime();
        say(Json::sure(words));
        EXPECT_TRUE(heardEverything()) << words;
        EXPECT_TRUE(manager->recognitions().empty()) << words;
        // Each began like a command with arguments: a failed command.
        EXPECT_EQ(manager->failures(), 1) << words;
        EXPECT_EQ(log.logs(), (Strings{"Recognition failed..."})) << words;
    }
}

// One word that a pattern begins with is too little to call the words a
// failed command: out-of-grammar speech is often heard so ("good morning"
// as "go ...").
TEST_F(Patterns, WordsThatOnlyShareAPatternsFirstWordGiveNothing)
{
    build();
    for (const char* words : {"turn purple", "go back", "call me", "select select"}) {
        log.clear();
        manager->clearReports();
        prime();
        say(Json::sure(words));
        EXPECT_TRUE(heardEverything()) << words;
        EXPECT_TRUE(manager->reports().empty()) << words;
        EXPECT_EQ(log.logs(), Strings{}) << words;
    }
}

TEST_F(Patterns, AnOptionalPartLeftOutOrSaid)
{
    build();
    say(Json::sure("select three more words"));
    prime();
    say(Json::sure("select three words"));
    const std::vector<KSR::SRData> heard = manager->recognitions();
    ASSERT_EQ(heard.size(), 2U);
    for (const KSR::SRData& data : heard) {
        EXPECT_EQ(data.commandId, select);
        ASSERT_EQ(data.arguments.size(), 1U);
        EXPECT_EQ(data.arguments[0].number, 3);
    }
}

TEST_F(Patterns, AWeakWordMakesTheCommandAFailure)
{
    build();
    say(Json::final("go to line forty two", {"1.0", "1.0", "1.0", "0.97", "0.60"}));
    EXPECT_TRUE(manager->recognitions().empty());
    EXPECT_EQ(manager->failures(), 1);
    EXPECT_EQ(log.logs(), (Strings{"Recognition failed..."}));
}

TEST_F(Patterns, AHypothesisCarriesTheValuesSoFarWithoutConfidence)
{
    build();
    say(Json::partial("go to line forty"), 0);
    const std::vector<KSR::SRData> hypotheses = manager->hypotheses();
    ASSERT_EQ(hypotheses.size(), 1U);
    EXPECT_EQ(hypotheses[0].commandId, line);
    ASSERT_EQ(hypotheses[0].arguments.size(), 1U);
    EXPECT_EQ(hypotheses[0].arguments[0].number, 40);
    EXPECT_EQ(hypotheses[0].arguments[0].confidence, 0);
}

TEST_F(Patterns, AListChangedWhileListeningIsHeardAtOnce)
{
    build();
    const std::size_t grammarsBefore = FakeVosk::grammars().size();
    ASSERT_TRUE(manager->setList("colours", {{"green", "#00ff00"}}));
    prime();
    EXPECT_GT(FakeVosk::grammars().size(), grammarsBefore);
    EXPECT_NE(FakeVosk::grammars().back().find("\"turn green\""), std::string::npos);
    say(Json::sure("turn red"));
    EXPECT_TRUE(heardEverything());
    EXPECT_TRUE(manager->recognitions().empty());
    prime();
    say(Json::sure("turn green"));
    ASSERT_EQ(onlyArgument().text, "#00ff00");
    EXPECT_EQ(manager->list("colours"), (KSR::SpokenList{{"green", "#00ff00"}}));
}

TEST_F(Patterns, ARemovedPatternIsNoLongerHeard)
{
    build();
    ASSERT_TRUE(manager->removeCommand(rule, line));
    prime();
    say(Json::sure("go to line seven"));
    EXPECT_TRUE(heardEverything());
    EXPECT_TRUE(manager->recognitions().empty());
    EXPECT_EQ(manager->addCommandPattern(rule, "go to line <line:number 1..10000>"), line);
}

TEST_F(Patterns, APhraseOfTheSameWordsWinsOverAPattern)
{
    build();
    const KSR::CommandId phrase = manager->addCommand(rule, "turn red");
    prime();
    say(Json::sure("turn red"));
    const std::vector<KSR::SRData> heard = manager->recognitions();
    ASSERT_EQ(heard.size(), 1U);
    EXPECT_EQ(heard[0].commandId, phrase);
    EXPECT_TRUE(heard[0].arguments.empty());
}

TEST_F(Patterns, ChainedCommandsArriveInOrderEachWithItsValues)
{
    build();
    ASSERT_TRUE(manager->setCommandChaining(true));
    prime();
    say(Json::sure("go to line forty two save file turn blue"));
    const std::vector<KSR::SRData> heard = manager->recognitions();
    ASSERT_EQ(heard.size(), 3U);
    EXPECT_EQ(heard[0].commandId, line);
    ASSERT_EQ(heard[0].arguments.size(), 1U);
    EXPECT_EQ(heard[0].arguments[0].number, 42);
    EXPECT_EQ(heard[1], (KSR::SRData{grammar, rule, save, "save file"}));
    EXPECT_TRUE(heard[1].arguments.empty());
    EXPECT_EQ(heard[2].commandId, turn);
    ASSERT_EQ(heard[2].arguments.size(), 1U);
    EXPECT_EQ(heard[2].arguments[0].text, "#0000ff");
}

TEST_F(Patterns, APatternOfASwitchedOffRuleOrGrammarIsNotHeard)
{
    build();
    // Another grammar keeps the command recognizer listening throughout.
    const KSR::GrammarId other = manager->addCommandGrammar("");
    manager->addCommand(manager->addRule(other, "files"), "open file");
    manager->setActivated(other, true);
    ASSERT_TRUE(manager->setRuleActivated(rule, false));
    prime();
    say(Json::sure("go to line seven"));
    EXPECT_TRUE(heardEverything());
    EXPECT_TRUE(manager->recognitions().empty());
    ASSERT_TRUE(manager->setRuleActivated(rule, true));
    ASSERT_TRUE(manager->setActivated(grammar, false));
    prime();
    say(Json::sure("go to line seven"));
    EXPECT_TRUE(heardEverything());
    EXPECT_TRUE(manager->recognitions().empty());
    ASSERT_TRUE(manager->setActivated(grammar, true));
    prime();
    say(Json::sure("go to line seven"));
    EXPECT_EQ(onlyArgument().number, 7);
}

TEST_F(Patterns, APatternOfAKeyedGrammarIsHeardAfterItsKey)
{
    build();
    const KSR::GrammarId keyed = manager->addCommandGrammar("north");
    const KSR::RuleId keyedRule = manager->addRule(keyed, "volume");
    const KSR::CommandId volume = manager->addCommandPattern(keyedRule, "volume <level:number 0..100>");
    ASSERT_NE(volume, KSR::InvalidCommandId);
    prime();
    say(Json::sure("volume fifty"));
    EXPECT_TRUE(heardEverything());
    EXPECT_TRUE(manager->recognitions().empty());
    prime();
    say(Json::sure("north"));
    prime();
    say(Json::sure("volume fifty"));
    const std::vector<KSR::SRData> heard = manager->recognitions();
    ASSERT_EQ(heard.size(), 1U);
    EXPECT_EQ(heard[0], (KSR::SRData{keyed, keyedRule, volume, "volume fifty"}));
    ASSERT_EQ(heard[0].arguments.size(), 1U);
    EXPECT_EQ(heard[0].arguments[0].number, 50);
}

TEST_F(Patterns, EachBadPatternIsRefusedWithOneLineThatNamesItsProblem)
{
    build();
    const std::string prefix = "Command pattern \"";
    EXPECT_EQ(addFails("go to page <n:number 1..9>"),
              prefix + "go to page <n:number 1..9>\" cannot be added: the model does not know the word \"page\"");
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
    EXPECT_EQ(addFails("turn ( | red)"),
              prefix + "turn ( | red)\" cannot be added: an empty alternative in \"( | )\"");
    EXPECT_EQ(addFails("find <q:text> <n:number 1..5>"),
              prefix + "find <q:text> <n:number 1..5>\" cannot be added: the text slot <q> must be followed by a "
                       "word or end the pattern");
    EXPECT_EQ(addFails(""), prefix + "\" cannot be added: an empty pattern");
    EXPECT_EQ(addFails("go to line <line:number 1..10000>"), "Command go to line <line:number 1..10000> has already "
                                                             "been added to rule moves!");
}

TEST_F(Patterns, WordsOfAPatternAreLowerCasedButSlotNamesAreNot)
{
    build();
    const KSR::CommandId volume = manager->addCommandPattern(rule, "Volume <Level:number 0..100>");
    ASSERT_NE(volume, KSR::InvalidCommandId);
    prime();
    say(Json::sure("volume zero"));
    const KSR::Argument value = onlyArgument();
    EXPECT_EQ(value.name, "Level");
    EXPECT_EQ(value.number, 0);
}

TEST_F(Patterns, ABadListIsRefusedWithOneLine)
{
    initialize();
    log.clear();
    EXPECT_FALSE(manager->setList("colours", {{"mauve", "1"}}));
    EXPECT_FALSE(manager->setList("colours", {{"  ", "2"}}));
    EXPECT_FALSE(manager->setList("", {{"red", "3"}}));
    EXPECT_EQ(log.logs(), (Strings{"List \"colours\" cannot be set: the model does not know the word \"mauve\"",
                                   "List \"colours\" cannot be set: an empty spoken form (for the value \"2\")",
                                   "List \"\" cannot be set: a list needs a name"}));
    EXPECT_TRUE(manager->list("colours").empty());
}

TEST_F(Patterns, WithoutAModelNothingIsAdded)
{
    EXPECT_EQ(manager->addCommandPattern(12, "go to line <n:number 1..9>"), KSR::InvalidCommandId);
    EXPECT_FALSE(manager->setList("colours", {{"red", "1"}}));
    EXPECT_EQ(log.logs(), (Strings{}));
    EXPECT_EQ(log.errors(), (Strings{"KSR_VoskManager must have a valid acoustic model!",
                                     "KSR_VoskManager must have a valid acoustic model!"}));
}

TEST_F(Patterns, AKeyAndAPatternOfItsGrammarCanBeSaidInOneBreath)
{
    build();
    const KSR::GrammarId keyed = manager->addCommandGrammar("north");
    const KSR::RuleId keyedRule = manager->addRule(keyed, "volume");
    const KSR::CommandId volume = manager->addCommandPattern(keyedRule, "volume <level:number 0..100>");
    ASSERT_TRUE(manager->setCommandChaining(true));
    prime();
    EXPECT_NE(FakeVosk::grammars().back().find("\"volume zero\""), std::string::npos);
    say(Json::sure("north volume fifty turn red"));
    const std::vector<KSR::SRData> heard = manager->recognitions();
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0], (KSR::SRData{keyed, keyedRule, volume, "volume fifty"}));
    ASSERT_EQ(heard[0].arguments.size(), 1U);
    EXPECT_EQ(heard[0].arguments[0].number, 50);
    EXPECT_EQ(heard[1].commandId, turn);
}

TEST_F(Patterns, AHostCanAskWhyAPatternOrAListWouldBeRefused)
{
    build();
    EXPECT_EQ(manager->patternProblem("go to line <n:number 1..9>"), "");
    EXPECT_EQ(manager->patternProblem("go to page <n:number 1..9>"), "the model does not know the word \"page\"");
    EXPECT_EQ(manager->patternProblem("turn <c:list fruits>"),
              "no list \"fruits\" in <c:list fruits>: set it with setList first");
    EXPECT_EQ(manager->listProblem("colours", {{"Dark  Red", "1"}}), "");
    EXPECT_EQ(manager->listProblem("colours", {{"mauve", "1"}}), "the model does not know the word \"mauve\"");
    EXPECT_EQ(manager->listProblem("", {}), "a list needs a name");
    EXPECT_EQ(log.logs(), Strings{});  // asking logs nothing
}
