// Dictation post-processing: the dictation grammar and its formatting
// phrases, the edits made to dictated text, the spelling, numerals and
// capitals modes with their callbacks, forced words and the vocabulary
// check. Dictated text reaches the manager through the engine's dictation
// function (scripted libvosk results fed through processAudio).
#include "manager_fixture.h"

using FakeVosk::Kind;
using Strings = std::vector<std::string>;

namespace {

struct ModeCalls {
    std::vector<bool> dictation, spelling, numerals, capitals;
};

class Dictation : public ManagerTest {
protected:
    // Dictation grammar 101 with rule 11, switched on; listening.
    void build(bool activate = true)
    {
        initialize();
        manager->setDictationActivatedFunction([this](bool on) { modes.dictation.push_back(on); });
        manager->setSpellingActivatedFunction([this](bool on) { modes.spelling.push_back(on); });
        manager->setNumeralsActivatedFunction([this](bool on) { modes.numerals.push_back(on); });
        manager->setCapitalsActivatedFunction([this](bool on) { modes.capitals.push_back(on); });
        dictation = manager->addDictationGrammar("");
        ASSERT_EQ(dictation, 101U);
        if (activate)
            manager->setActivated(dictation, true);
        manager->startRecognizing();
        prime();
        log.clear();
        manager->clearReports();
    }

    // The texts of the recognitions reported so far.
    Strings texts()
    {
        Strings out;
        for (const auto& data : manager->recognitions())
            out.push_back(data.text);
        return out;
    }

    KSR::CommandId formattingId(const std::string& phrase)
    {
        return manager->getGrammar(dictation)->getCommand(11, phrase)->commandId;
    }

    KSR::GrammarId dictation = 0;
    ModeCalls modes;
};

const KSR::RuleId kNoRule = KSR::InvalidRuleId;

}  // namespace

TEST_F(Dictation, DictationGrammarHoldsTheLiteralKeywordAndTheFormattingPhrasesInOrder)
{
    build(false);
    const auto grammar = manager->getGrammar(dictation);
    EXPECT_TRUE(grammar->isDictationEnabled());
    EXPECT_TRUE(manager->isDictationGrammar(dictation));
    EXPECT_EQ(grammar->getRuleIds(), (std::vector<unsigned long>{11}));
    EXPECT_EQ(grammar->getCommand(11, std::string("literal"))->commandId, 0);
    const Strings phrases = {"start spelling",    "stop spelling",      "start numerals",
                             "stop numerals",     "capitals on",        "capitals off",
                             "new line",          "add space",          "add tab",
                             "add period",        "add comma",          "add colon",
                             "add semicolon",     "add quotation mark", "add question mark",
                             "add exclamation mark", "open parenthesis", "close parenthesis",
                             "left bracket",      "right bracket",      "left brace",
                             "right brace"};
    EXPECT_EQ(KSR_VoskManager::formattingPhrases(), phrases);
    // Added in that order, after "literal".
    for (std::size_t i = 0; i < phrases.size(); ++i)
        EXPECT_EQ(formattingId(phrases[i]), static_cast<KSR::CommandId>(i + 1)) << phrases[i];
    // The rule's name is the one hosts know, misspelling included.
    EXPECT_EQ(grammar->addRule("Deafult Rule"), KSR::InvalidRuleId);
}

TEST_F(Dictation, SwitchingDictationOnCallsItsCallbackOnceAndCapitalisesTheFirstText)
{
    build(false);
    EXPECT_FALSE(manager->isDictationModeEnabled());
    manager->setCapitalsModeEnabled(true);
    modes = ModeCalls();
    manager->setActivated(dictation, true);
    EXPECT_TRUE(manager->isDictationModeEnabled());
    EXPECT_EQ(modes.dictation, (std::vector<bool>{true}));
    EXPECT_EQ(modes.capitals, (std::vector<bool>{false}));  // capitals go off with the switch
    EXPECT_FALSE(manager->capitalsModeEnabled());
    manager->setActivated(dictation, true);  // no change of mode: no call
    EXPECT_EQ(modes.dictation.size(), 1U);
    manager->setActivated(dictation, false);
    EXPECT_EQ(modes.dictation, (std::vector<bool>{true, false}));
    EXPECT_FALSE(manager->isDictationModeEnabled());
}

TEST_F(Dictation, FirstResultIsCapitalisedWithoutBlankAndTheNextGetsABlank)
{
    build();
    prime();
    dictate(Json::sure("hello"));
    dictate(Json::sure("world"));
    EXPECT_EQ(manager->recognitions(),
              (std::vector<KSR::SRData>{{dictation, kNoRule, -1, "Hello"}, {dictation, kNoRule, -1, " world"}}));
    EXPECT_EQ(log.logs(), (Strings{"Recognized: Hello gID:101 rID:4294967295 cID:18446744073709551615",
                                   "Recognized:  world gID:101 rID:4294967295 cID:18446744073709551615"}));
}

TEST_F(Dictation, HypothesisIsReportedWithoutEdits)
{
    build();
    prime();
    dictate(Json::partial("hello i"), 0);
    EXPECT_EQ(manager->hypotheses(), (std::vector<KSR::SRData>{{dictation, kNoRule, -1, "hello i"}}));
    EXPECT_EQ(log.logs(), (Strings{"Hypothesis: hello i"}));
    dictate(Json::sure("hello"));
    EXPECT_EQ(texts(), (Strings{"Hello"}));  // the hypothesis changed no flag
}

TEST_F(Dictation, FailedDictationIsAFailure)
{
    build();
    prime();
    dictate(Json::final("hello", {"0.5"}));
    EXPECT_EQ(manager->failures(), 1);
    EXPECT_EQ(log.logs(), (Strings{"Recognition failed..."}));
}

TEST_F(Dictation, WithoutDictationGrammarEveryResultIsAFailure)
{
    initialize();
    std::string text = "hello";
    manager->dictationRecognized(text, KSR::Recognized);
    manager->dictationRecognized(text, KSR::Hypothesis);
    EXPECT_EQ(manager->failures(), 2);
    EXPECT_EQ(text, "hello");
}

TEST_F(Dictation, UnknownStateIsIgnored)
{
    build();
    std::string text = "hello";
    manager->dictationRecognized(text, static_cast<KSR::RecognitionState>(5));
    EXPECT_TRUE(manager->reports().empty());
}

TEST_F(Dictation, AfterAddPeriodTheNextTextIsCapitalisedWithABlank)
{
    build();
    prime();
    dictate(Json::sure("hello"));
    say(Json::sure("add period"));
    dictate(Json::sure("this"));
    EXPECT_EQ(texts(), (Strings{"Hello", ".", " This"}));
    EXPECT_EQ(manager->recognitions()[1], (KSR::SRData{dictation, 11, formattingId("add period"), "."}));
}

TEST_F(Dictation, AfterNewLineTheNextTextIsCapitalisedWithoutBlank)
{
    build();
    prime();
    dictate(Json::sure("hello"));
    say(Json::sure("new line"));
    dictate(Json::sure("this"));
    EXPECT_EQ(texts(), (Strings{"Hello", "\n", "This"}));
}

TEST_F(Dictation, PronounIIsCapitalised)
{
    build();
    prime();
    dictate(Json::sure("hello"));
    dictate(Json::sure("i think so"));
    dictate(Json::sure("so do i"));
    dictate(Json::sure("you and i and i"));
    EXPECT_EQ(texts(), (Strings{"Hello", " I think so", " so do I", " you and I and I"}));
}

TEST_F(Dictation, LoneIStaysLowerCaseUnlessCapitaliseNextIsOn)
{
    build();
    std::string first = "i";
    manager->dictationRecognized(first, KSR::Recognized);  // capitalise-next is on after the switch
    EXPECT_EQ(first, "I");
    std::string lone = "i";
    manager->dictationRecognized(lone, KSR::Recognized);  // separator on now
    EXPECT_EQ(lone, " I");
}

TEST_F(Dictation, LoneIWithoutSeparatorOrCapitalStaysLowerCase)
{
    build(false);  // dictation never switched on: no separator, no capital pending
    std::string lone = "i";
    manager->dictationRecognized(lone, KSR::Recognized);
    EXPECT_EQ(lone, "i");
}

TEST_F(Dictation, LeadingIWithoutSeparatorOrCapitalBecomesIIDeliberately)
{
    build(false);
    std::string text = "i think";
    manager->dictationRecognized(text, KSR::Recognized);
    EXPECT_EQ(text, "iIthink");
    EXPECT_EQ(texts(), (Strings{"iIthink"}));
}

TEST_F(Dictation, SpellingModeReportsLettersUnchangedAndSetsTheSeparator)
{
    build();
    prime();
    say(Json::sure("start spelling"));
    EXPECT_TRUE(manager->spellingModeEnabled());
    EXPECT_EQ(modes.spelling, (std::vector<bool>{true}));
    spell(Json::sure("a b c"));
    say(Json::sure("stop spelling"));
    EXPECT_EQ(modes.spelling, (std::vector<bool>{true, false}));
    dictate(Json::sure("hello"));
    // Spelled letters: no capital although capitalise-next was on, no blank.
    EXPECT_EQ(texts(), (Strings{"", "a b c", "", " hello"}));
}

TEST_F(Dictation, SpellingKeepsNumeralsAndCapitalsEdits)
{
    build();
    manager->setSpellingModeEnabled(true);
    manager->setCapitalsModeEnabled(true);
    std::string letters = "a b c";
    manager->dictationRecognized(letters, KSR::Recognized);
    EXPECT_EQ(letters, "A B C");
}

TEST_F(Dictation, NumeralsModeConvertsSpokenNumbers)
{
    build();
    prime();
    say(Json::sure("start numerals"));
    EXPECT_TRUE(manager->numeralModeEnabled());
    EXPECT_EQ(modes.numerals, (std::vector<bool>{true}));
    dictate(Json::sure("two plus two equals four"));
    dictate(Json::sure("nineteen eighty four"));
    say(Json::sure("stop numerals"));
    dictate(Json::sure("one cat"));
    EXPECT_EQ(texts(), (Strings{"", "2 + 2 = 4", " 1984", "", " one cat"}));
    EXPECT_EQ(modes.numerals, (std::vector<bool>{true, false}));
}

TEST_F(Dictation, CapitalsModeUpperCasesEverything)
{
    build();
    prime();
    say(Json::sure("capitals on"));
    EXPECT_EQ(modes.capitals, (std::vector<bool>{true}));
    dictate(Json::sure("hello world"));
    say(Json::sure("capitals off"));
    dictate(Json::sure("hello i"));
    EXPECT_EQ(texts(), (Strings{"", "HELLO WORLD", "", " hello I"}));
    EXPECT_EQ(modes.capitals, (std::vector<bool>{true, false}));
}

TEST_F(Dictation, LiteralPhraseArrivesAsDictatedText)
{
    build();
    prime();
    dictate(Json::sure("hello"));
    say(Json::sure("literal new line"));
    EXPECT_EQ(texts(), (Strings{"Hello", " new line"}));
    EXPECT_TRUE(modes.numerals.empty());
}

TEST_F(Dictation, LiteralPhraseArrivesUnformattedWhileDictationIsOff)
{
    build(false);
    ASSERT_TRUE(manager->setRuleActivated(11, true));  // formatting phrases heard, dictation off
    manager->startRecognizing();  // the list was empty before, so the engine was off
    prime();
    say(Json::sure("literal new line"));
    EXPECT_EQ(texts(), (Strings{"new line"}));
    EXPECT_FALSE(manager->isDictationModeEnabled());
}

TEST_F(Dictation, SpellingAndNumeralsExcludeEachOther)
{
    build();
    manager->setNumeralModeEnabled(true);
    manager->setSpellingModeEnabled(true);
    EXPECT_FALSE(manager->numeralModeEnabled());
    EXPECT_TRUE(manager->spellingModeEnabled());
    EXPECT_EQ(modes.numerals, (std::vector<bool>{true, false}));
    EXPECT_EQ(modes.spelling, (std::vector<bool>{true}));
    manager->setNumeralModeEnabled(true);
    EXPECT_FALSE(manager->spellingModeEnabled());
    EXPECT_TRUE(manager->numeralModeEnabled());
    EXPECT_EQ(modes.spelling, (std::vector<bool>{true, false}));
    EXPECT_EQ(modes.numerals, (std::vector<bool>{true, false, true}));
    // Spoken "start numerals" in spelling mode switches spelling off first.
    manager->setSpellingModeEnabled(true);
    modes = ModeCalls();
    manager->commandRecognized("start numerals", KSR::Recognized);
    EXPECT_EQ(modes.spelling, (std::vector<bool>{false}));
    EXPECT_EQ(modes.numerals, (std::vector<bool>{true}));
    // Spoken "stop spelling" touches no other mode.
    manager->commandRecognized("stop spelling", KSR::Recognized);
    EXPECT_EQ(modes.spelling, (std::vector<bool>{false, false}));
    EXPECT_TRUE(manager->numeralModeEnabled());
}

TEST_F(Dictation, ModeSwitchesWithoutEngine)
{
    {
        std::lock_guard<std::mutex> lock(FakeVosk::mutex());
        FakeVosk::state().modelNewFails = true;
    }
    std::vector<bool> spelling, numerals, capitals;
    manager->setSpellingActivatedFunction([&](bool on) { spelling.push_back(on); });
    manager->setNumeralsActivatedFunction([&](bool on) { numerals.push_back(on); });
    manager->setCapitalsActivatedFunction([&](bool on) { capitals.push_back(on); });
    ASSERT_FALSE(manager->initialize("/bad"));
    manager->setSpellingModeEnabled(true);
    manager->setCapitalsModeEnabled(true);
    manager->setNumeralModeEnabled(true);  // works without engine
    EXPECT_TRUE(spelling.empty());
    EXPECT_TRUE(capitals.empty());
    EXPECT_EQ(numerals, (std::vector<bool>{true}));
    EXPECT_TRUE(manager->numeralModeEnabled());
    EXPECT_FALSE(manager->capitalsModeEnabled());
}

struct FormattingCase {
    const char* phrase;
    const char* text;  // what the phrase itself produces
    const char* next;  // what the dictated "next" after it becomes
};

// Names the test case after its phrase.
std::ostream& operator<<(std::ostream& out, const FormattingCase& c) { return out << c.phrase; }

class FormattingPhrases : public Dictation, public testing::WithParamInterface<FormattingCase> {};

TEST_P(FormattingPhrases, ProduceTheirCharacterAndEffect)
{
    build();
    std::string first = "hello";
    manager->dictationRecognized(first, KSR::Recognized);
    manager->clearReports();
    manager->commandRecognized(GetParam().phrase, KSR::Recognized);
    ASSERT_EQ(manager->recognitions().size(), 1U);
    EXPECT_EQ(manager->recognitions()[0], (KSR::SRData{dictation, 11, formattingId(GetParam().phrase), GetParam().text}));
    std::string next = "next";
    manager->dictationRecognized(next, KSR::Recognized);
    EXPECT_EQ(next, GetParam().next);
}

INSTANTIATE_TEST_SUITE_P(
    Table, FormattingPhrases,
    testing::Values(FormattingCase{"new line", "\n", "Next"}, FormattingCase{"add space", " ", " next"},
                    FormattingCase{"add tab", "\t", " next"}, FormattingCase{"add period", ".", " Next"},
                    FormattingCase{"add comma", ",", " next"}, FormattingCase{"add colon", ":", " next"},
                    FormattingCase{"add semicolon", ";", " next"},
                    FormattingCase{"add quotation mark", "\"", " next"},
                    FormattingCase{"add question mark", "?", " Next"},
                    FormattingCase{"add exclamation mark", "!", " Next"},
                    FormattingCase{"open parenthesis", "(", " next"},
                    FormattingCase{"close parenthesis", ")", " next"},
                    FormattingCase{"left bracket", "[", " next"}, FormattingCase{"right bracket", "]", " next"},
                    FormattingCase{"left brace", "{", " next"}, FormattingCase{"right brace", "}", " next"},
                    // Spelled text gets no blank and no capital.
                    FormattingCase{"start spelling", "", "next"}, FormattingCase{"stop spelling", "", " next"},
                    FormattingCase{"start numerals", "", " next"}, FormattingCase{"stop numerals", "", " next"},
                    FormattingCase{"capitals on", "", " NEXT"}, FormattingCase{"capitals off", "", " next"},
                    FormattingCase{"literal", "", " next"}));

TEST_F(Dictation, ForcedWordsKeywordNeedsADictationGrammar)
{
    initialize();
    EXPECT_FALSE(manager->setForcedWordsKeyword("force"));
    EXPECT_EQ(log.logs(), (Strings{"You cannot add a forced word keyword before adding a dictation grammar!"}));
}

TEST_F(Dictation, ForcedWordsReachTheEngineLowerCased)
{
    build();
    EXPECT_TRUE(manager->setForcedWordsKeyword("force"));
    EXPECT_EQ(manager->getGrammar(dictation)->getCommand(11, std::string("force"))->commandId, 23);
    // The command can be added once only.
    EXPECT_FALSE(manager->setForcedWordsKeyword("force"));
    EXPECT_EQ(log.logs(), (Strings{"Command force has already been added to rule Deafult Rule!"}));
    log.clear();
    EXPECT_FALSE(manager->setForcedWords({"Smith", "Xyzzy"}));
    EXPECT_EQ(log.logs(), (Strings{"Word xyzzy is not included in current acoustic model!",
                                   "Forced word Xyzzy is not included in current acoustic model!"}));
    EXPECT_TRUE(manager->setForcedWords({"Smith"}));
    // Keyword and words reach the phrase list with the next start.
    manager->startRecognizing();
    prime();
    feed();
    EXPECT_NE(FakeVosk::grammars().back().find(",\"force smith\"]"), std::string::npos) << FakeVosk::grammars().back();
    say(Json::sure("force smith"));
    EXPECT_EQ(manager->recognitions().back().text, "Smith");
}

TEST_F(Dictation, WordsExistChecksEveryWord)
{
    initialize();
    EXPECT_TRUE(manager->wordsExist("open file"));
    EXPECT_FALSE(manager->wordsExist("open sesame"));
    EXPECT_FALSE(manager->wordsExist("Open"));  // the check itself does not lower-case
    EXPECT_EQ(log.logs(), (Strings{"Word sesame is not included in current acoustic model!",
                                   "Word Open is not included in current acoustic model!"}));
    EXPECT_TRUE(log.lines().empty());
}

// A host that only wants commands hears nothing until it adds a dictation
// grammar (the command grammar is built with its literal keyword): it is
// told so once, not on every change of its grammars.
TEST_F(ManagerTest, CommandsWithoutADictationGrammarAreToldOnceThatTheyCannotBeHeard)
{
    initialize();
    const KSR::GrammarId grammar = manager->addCommandGrammar("");
    const KSR::RuleId rule = manager->addRule(grammar, "commands");
    manager->addCommand(rule, "open file");
    log.clear();
    manager->setActivated(grammar, true);
    manager->startRecognizing();
    const Strings told = {"No command can be heard before a dictation grammar is added (addDictationGrammar; it may "
                          "stay switched off): the commands need its literal keyword"};
    EXPECT_EQ(log.logs(), told);
    manager->addCommand(rule, "close window");
    manager->startRecognizing();
    EXPECT_EQ(log.logs(), told);

    // Once the dictation grammar is there, the commands are heard.
    manager->addDictationGrammar("");
    manager->startRecognizing();
    EXPECT_EQ(log.logs(), told);
    EXPECT_TRUE(manager->engine()->isActivated());
}

TEST_F(ManagerTest, CommandsWithADictationGrammarAreNotToldAnything)
{
    initialize();
    manager->addDictationGrammar("");
    const KSR::GrammarId grammar = manager->addCommandGrammar("");
    const KSR::RuleId rule = manager->addRule(grammar, "commands");
    manager->addCommand(rule, "open file");
    log.clear();
    manager->setActivated(grammar, true);
    manager->startRecognizing();
    EXPECT_TRUE(log.logs().empty());
}
