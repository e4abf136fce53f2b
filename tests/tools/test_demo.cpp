// The demo host as a user runs it: sound files from the shared clips (any
// rate, through the module's manager and engine), its JSON and text output
// against the clips' transcripts, and its errors and exit codes.
//
// Clips used for exact text were checked with a plain libvosk run first;
// every command, key and formatting clip comes out exact. Of the dictation
// clips, dict_hello_world, dict_i_think_so, dict_this_is_the_cat and
// dict_what_time come out exact; of the numbers num_two_plus_two,
// num_six_times_seven and num_3400; of the letters spell_cat, spell_smith
// and spell_wxyz (spell_hello loses an "l", see the clips' README).
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>

#include "demo_runner.h"
#include "test_data.h"

namespace {

using Strings = std::vector<std::string>;

const Strings kCommandClips = {"cmd_open_file.wav", "cmd_close_window.wav", "cmd_select_all.wav",
                               "cmd_go_back.wav",   "cmd_zoom_in.wav",      "cmd_scroll_down.wav",
                               "cmd_save_file.wav", "cmd_undo.wav",         "cmd_new_tab.wav"};

std::map<std::string, std::string> transcripts()
{
    std::map<std::string, std::string> all;
    std::istringstream lines(readFile(TestData::audioDir() + "/transcripts.tsv"));
    std::string line;
    while (std::getline(lines, line)) {
        const auto tab = line.find('\t');
        if (tab != std::string::npos)
            all[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return all;
}

// Lower case, no blanks at the ends: dictated text compared with a transcript.
std::string plain(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? std::string() : text.substr(begin);
}

class TempFolder {
public:
    TempFolder()
    {
        char pattern[] = "/tmp/ksr-demo-test-XXXXXX";
        if (::mkdtemp(pattern))
            m_path = pattern;
    }
    ~TempFolder()
    {
        if (!m_path.empty())
            std::system(("rm -rf " + shellQuote(m_path)).c_str());
    }
    std::string write(const std::string& name, const std::string& text) const
    {
        const std::string path = m_path + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

// The events of one kind, per file heard.
std::map<std::string, std::vector<DemoEvent>> byFile(const std::vector<DemoEvent>& events, const std::string& kind)
{
    std::map<std::string, std::vector<DemoEvent>> out;
    std::string file;
    for (const DemoEvent& event : events) {
        if (event.event == "file") {
            file = event.text.substr(event.text.find_last_of('/') + 1);
            out[file];
        } else if (event.event == kind) {
            out[file].push_back(event);
        }
    }
    return out;
}

class Demo : public testing::Test {
protected:
    void SetUp() override
    {
        KSR_REQUIRE_DATA(TestData::modelPath());
        KSR_REQUIRE_DATA(TestData::audioDir());
        ASSERT_FALSE(folder.path().empty());
    }

    DemoRun hear(const std::string& grammar, const Strings& clips, bool json = true)
    {
        Strings arguments = {"--model", TestData::modelPath(), "--grammar", grammar};
        if (json)
            arguments.push_back("--json");
        arguments.push_back("--wav");
        for (const std::string& clip : clips)
            arguments.push_back(clip.find('/') == std::string::npos ? TestData::clip(clip) : clip);
        return runDemo(arguments);
    }

    // One grammar "all" with every command phrase of the clips; dictation
    // as given.
    std::string commandGrammar(const std::string& dictation = "{}")
    {
        return folder.write("commands.json", R"({
  "grammars": [ { "name": "all", "active": true, "rules": [ { "name": "commands", "commands":
    ["open file", "close window", "select all", "go back", "zoom in", "scroll down", "save file", "undo", "new tab"] } ] } ],
  "dictation": )" + dictation + "\n}\n");
    }

    TempFolder folder;
};

}  // namespace

TEST_F(Demo, CommandClipsGiveTheirTranscriptsWithTheirIds)
{
    const DemoRun run = hear(commandGrammar(), kCommandClips);
    ASSERT_EQ(run.status, 0) << run.err;
    const auto commands = byFile(parseEvents(run), "command");
    const auto words = transcripts();
    ASSERT_EQ(commands.size(), kCommandClips.size());
    for (std::size_t i = 0; i < kCommandClips.size(); ++i) {
        const std::string& clip = kCommandClips[i];
        ASSERT_EQ(commands.at(clip).size(), 1U) << clip;
        const DemoEvent& command = commands.at(clip).front();
        EXPECT_EQ(command.text, words.at(clip)) << clip;
        // Grammar 100 holds the keys, 101 is the dictation grammar; the
        // file's grammar comes next, its rule after the dictation rule.
        EXPECT_EQ(command.grammar, 102) << clip;
        EXPECT_EQ(command.grammarName, "all");
        EXPECT_EQ(command.rule, 12) << clip;
        EXPECT_EQ(command.ruleName, "commands");
        EXPECT_EQ(command.command, static_cast<long long>(i)) << clip;
    }
    EXPECT_TRUE(byFile(parseEvents(run), "text").at("cmd_open_file.wav").empty());
}

TEST_F(Demo, TheDefaultRunSwitchesGrammarsByKeyAndDictates)
{
    // The bundled grammar file, model and clips, as scripts/demo.sh plays them.
    const std::string data = KSR_SOURCE_DIR "/data/clips/";
    const DemoRun run = runDemo({"--json", "--wav", data + "cmd_save_file.wav", data + "key_north.wav",
                                 data + "cmd_open_file.wav", data + "key_activate_smith.wav",
                                 data + "dict_hello_world.wav", data + "fmt_add_comma.wav",
                                 data + "dict_i_think_so.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<DemoEvent> events = parseEvents(run);
    const auto commands = byFile(events, "command");
    ASSERT_EQ(commands.at("cmd_save_file.wav").size(), 1U);
    EXPECT_EQ(commands.at("cmd_save_file.wav")[0].grammarName, "edit");
    ASSERT_EQ(commands.at("cmd_open_file.wav").size(), 1U);
    EXPECT_EQ(commands.at("cmd_open_file.wav")[0].grammarName, "files");

    const auto grammars = byFile(events, "grammar");
    Strings north;
    for (const DemoEvent& event : grammars.at("key_north.wav"))
        north.push_back(event.text + (event.active ? " on" : " off"));
    EXPECT_EQ(north, (Strings{"dictation off", "files on", "edit off"}));
    Strings smith;
    for (const DemoEvent& event : grammars.at("key_activate_smith.wav"))
        smith.push_back(event.text + (event.active ? " on" : " off"));
    EXPECT_EQ(smith, (Strings{"dictation on", "files off", "edit off"}));
    EXPECT_TRUE(byFile(events, "text").at("key_north.wav").empty());

    Strings written;
    for (const DemoEvent& event : events)
        if (event.event == "text" || event.event == "format")
            written.push_back(event.text);
    EXPECT_EQ(written, (Strings{"Hello world", ",", " I think so"}));
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back().event, "document");
    EXPECT_EQ(events.back().text, "Hello world, I think so");
}

TEST_F(Demo, DictationClipsGiveTheirTranscripts)
{
    const Strings clips = {"dict_hello_world.wav", "dict_i_think_so.wav", "dict_this_is_the_cat.wav",
                           "dict_what_time.wav"};
    const DemoRun run = hear(commandGrammar(R"({ "active": true })"), clips);
    ASSERT_EQ(run.status, 0) << run.err;
    const auto texts = byFile(parseEvents(run), "text");
    const auto words = transcripts();
    for (const std::string& clip : clips) {
        ASSERT_EQ(texts.at(clip).size(), 1U) << clip;
        EXPECT_EQ(plain(texts.at(clip)[0].text), words.at(clip)) << clip;
        EXPECT_EQ(texts.at(clip)[0].grammar, 101);
    }
    // Formatted: a capital first, a blank before each later text, "I".
    EXPECT_EQ(texts.at("dict_hello_world.wav")[0].text, "Hello world");
    EXPECT_EQ(texts.at("dict_i_think_so.wav")[0].text, " I think so");
}

TEST_F(Demo, FormattingClipsWriteTheirCharacters)
{
    const DemoRun run = hear(commandGrammar(R"({ "active": true })"),
                             {"dict_hello_world.wav", "fmt_add_comma.wav", "fmt_new_line.wav",
                              "fmt_open_parenthesis.wav", "fmt_literal_new_line.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<DemoEvent> events = parseEvents(run);
    const auto formats = byFile(events, "format");
    ASSERT_EQ(formats.at("fmt_add_comma.wav").size(), 1U);
    EXPECT_EQ(formats.at("fmt_add_comma.wav")[0].text, ",");
    EXPECT_EQ(formats.at("fmt_add_comma.wav")[0].rule, 11);
    ASSERT_EQ(formats.at("fmt_new_line.wav").size(), 1U);
    EXPECT_EQ(formats.at("fmt_new_line.wav")[0].text, "\n");
    ASSERT_EQ(formats.at("fmt_open_parenthesis.wav").size(), 1U);
    EXPECT_EQ(formats.at("fmt_open_parenthesis.wav")[0].text, "(");
    // "literal" writes the words that follow it as text.
    const auto texts = byFile(events, "text");
    ASSERT_EQ(texts.at("fmt_literal_new_line.wav").size(), 1U);
    EXPECT_EQ(plain(texts.at("fmt_literal_new_line.wav")[0].text), "new line");
    EXPECT_TRUE(texts.at("fmt_add_comma.wav").empty());
}

TEST_F(Demo, NumeralsModeFromTheGrammarFileWritesDigits)
{
    const std::string grammar = folder.write("numerals.json", R"({ "grammars": [],
  "dictation": { "active": true }, "modes": { "numerals": true } })");
    const DemoRun run = hear(grammar, {"num_two_plus_two.wav", "num_six_times_seven.wav", "num_3400.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    Strings written;
    for (const DemoEvent& event : parseEvents(run))
        if (event.event == "text")
            written.push_back(event.text);
    EXPECT_EQ(written, (Strings{"2 + 2 = 4", " 6 * 7 = 42", " 3400"}));
}

TEST_F(Demo, SpellingModeWritesLetters)
{
    const std::string grammar = folder.write("spelling.json", R"({ "grammars": [],
  "dictation": { "active": true }, "modes": { "spelling": true } })");
    const DemoRun run = hear(grammar, {"spell_cat.wav", "spell_smith.wav", "spell_wxyz.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto texts = byFile(parseEvents(run), "text");
    const auto words = transcripts();
    for (const std::string clip : {"spell_cat.wav", "spell_smith.wav", "spell_wxyz.wav"}) {
        ASSERT_EQ(texts.at(clip).size(), 1U) << clip;
        EXPECT_EQ(texts.at(clip)[0].text, words.at(clip)) << clip;
    }
}

TEST_F(Demo, ModesSwitchedBySpeechAreReported)
{
    const DemoRun run = hear(commandGrammar(R"({ "active": true })"),
                             {"fmt_start_spelling.wav", "spell_cat.wav", "fmt_stop_spelling.wav",
                              "fmt_capitals_on.wav", "dict_hello_world.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    Strings seen;
    for (const DemoEvent& event : parseEvents(run))
        if (event.event == "mode" || event.event == "text")
            seen.push_back(event.event + " " + event.text + (event.event == "mode" ? (event.active ? " on" : " off") : ""));
    EXPECT_EQ(seen, (Strings{"mode spelling on", "text c a t", "mode spelling off", "mode capitals on",
                             "text  HELLO WORLD"}));
}

TEST_F(Demo, SpeechOutsideTheGrammarGivesNoCommand)
{
    const Strings clips = {"dict_what_time.wav", "dict_help_me.wav", "noise_only.wav", "silence_only.wav",
                           "key_north.wav"};
    const DemoRun run = hear(commandGrammar(), clips);
    ASSERT_EQ(run.status, 0) << run.err;
    // Every file was heard, and none of them gave a command.
    const auto commands = byFile(parseEvents(run), "command");
    EXPECT_EQ(commands.size(), clips.size());
    for (const std::string& clip : clips) {
        ASSERT_EQ(commands.count(clip), 1U) << clip;
        for (const DemoEvent& command : commands.at(clip))
            ADD_FAILURE() << clip << " gave the command \"" << command.text << "\"";
    }
}

TEST_F(Demo, FilesAtOtherRatesAndWithTwoChannelsAreResampled)
{
    const std::string clip = TestData::clip("cmd_open_file.wav");
    const std::string stereo = folder.path() + "/open_file_44100_stereo.wav";
    const std::string low = folder.path() + "/open_file_22050.flac";
    ASSERT_EQ(std::system(("sox " + shellQuote(clip) + " -r 44100 -c 2 " + shellQuote(stereo)).c_str()), 0);
    ASSERT_EQ(std::system(("sox " + shellQuote(clip) + " -r 22050 " + shellQuote(low)).c_str()), 0);
    const DemoRun run = hear(commandGrammar(), {stereo, low});
    ASSERT_EQ(run.status, 0) << run.err;
    const auto commands = byFile(parseEvents(run), "command");
    for (const std::string name : {"open_file_44100_stereo.wav", "open_file_22050.flac"}) {
        ASSERT_EQ(commands.at(name).size(), 1U) << name;
        EXPECT_EQ(commands.at(name)[0].text, "open file") << name;
    }
}

TEST_F(Demo, TextOutputHasOneLinePerSignal)
{
    const DemoRun run = hear(commandGrammar(R"({ "active": true })"),
                             {"cmd_open_file.wav", "dict_hello_world.wav", "fmt_new_line.wav"}, false);
    ASSERT_EQ(run.status, 0) << run.err;
    const Strings lines = run.lines();
    ASSERT_EQ(lines.size(), 7U) << run.out;
    EXPECT_EQ(lines[0], "== " + TestData::clip("cmd_open_file.wav"));
    EXPECT_EQ(lines[1], "command     \"open file\"  grammar 102 all, rule 12 commands, command 0");
    EXPECT_EQ(lines[3], "text        \"Hello world\"");
    EXPECT_EQ(lines[5], "format      \"\\n\"  command 7");
    EXPECT_EQ(lines[6], "document    \"Hello world\\n\"");
}

TEST_F(Demo, HypothesesArePrintedOnRequestEachOnce)
{
    const DemoRun run = runDemo({"--model", TestData::modelPath(), "--grammar", commandGrammar(), "--json",
                                 "--hypotheses", "--wav", TestData::clip("cmd_open_file.wav")});
    ASSERT_EQ(run.status, 0) << run.err;
    Strings hypotheses;
    for (const DemoEvent& event : parseEvents(run))
        if (event.event == "hypothesis")
            hypotheses.push_back(event.text);
    ASSERT_FALSE(hypotheses.empty());
    EXPECT_EQ(hypotheses.back(), "open file");
    EXPECT_EQ(std::adjacent_find(hypotheses.begin(), hypotheses.end()), hypotheses.end());
}

// --- Errors and exit codes ------------------------------------------------

TEST_F(Demo, BadArgumentsExitWith2AndSayWhy)
{
    const std::vector<std::pair<Strings, std::string>> cases = {
        {{}, "say where the audio comes from"},
        {{"--frobnicate"}, "unknown argument \"--frobnicate\""},
        {{"--wav"}, "--wav needs at least one file"},
        {{"--wav", "a.wav", "--mic"}, "--wav and --mic exclude each other"},
        {{"--wav", "a.wav", "--seconds", "3"}, "--seconds applies to --mic only"},
        {{"--wav", "a.wav", "--skip-silence"}, "--skip-silence applies to --mic only"},
        {{"--mic", "--seconds", "soon"}, "--seconds needs a positive number"},
        {{"--grammar"}, "--grammar needs a value"},
    };
    for (const auto& c : cases) {
        const DemoRun run = runDemo(c.first);
        EXPECT_EQ(run.status, 2) << c.second;
        EXPECT_NE(run.err.find("ksr-demo: " + c.second), std::string::npos) << run.err;
        EXPECT_NE(run.err.find("usage: ksr-demo"), std::string::npos);
        EXPECT_TRUE(run.out.empty());
    }
}

TEST_F(Demo, HelpPrintsTheUsage)
{
    const DemoRun run = runDemo({"--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.rfind("usage: ksr-demo", 0), 0U);
}

TEST_F(Demo, AMissingOrUnusableModelExitsWith3)
{
    const std::string clip = TestData::clip("cmd_open_file.wav");
    DemoRun run = runDemo({"--model", folder.path() + "/nothing", "--wav", clip});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "ksr-demo: no acoustic model folder at " + folder.path() + "/nothing\n");

    ::mkdir((folder.path() + "/empty").c_str(), 0700);
    run = runDemo({"--model", folder.path() + "/empty", "--wav", clip});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "ksr-demo: " + folder.path() + "/empty is no acoustic model: it has neither mfcc.conf nor "
                       "conf/mfcc.conf\n");

    // A feature configuration alone is not a model: the module refuses it.
    ::mkdir((folder.path() + "/fake").c_str(), 0700);
    folder.write("fake/mfcc.conf", "--sample-frequency=16000\n");
    run = runDemo({"--model", folder.path() + "/fake", "--wav", clip});
    EXPECT_EQ(run.status, 3);
    EXPECT_NE(run.err.find("KSR Error: Acoustic model " + folder.path() + "/fake is invalid!"), std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("ksr-demo: the acoustic model at " + folder.path() + "/fake could not be loaded"),
              std::string::npos);

    // The environment variable is the default when --model is not given.
    run = runDemo({"--wav", clip}, {"KALO_ACOUSTIC_MODEL_PATH=" + folder.path() + "/nothing"});
    EXPECT_EQ(run.status, 3);
    EXPECT_TRUE(run.out.empty());
}

TEST_F(Demo, ABadGrammarFileExitsWith4AndSaysWhere)
{
    const std::string clip = TestData::clip("cmd_open_file.wav");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"{\n  \"grammars\": [,]\n}", "not valid JSON at line 2: Invalid value."},
        {"[]", "the top level must be an object"},
        {"{}", "\"grammars\" must be a list of grammars"},
        {"{ \"grammars\": [], \"grammer\": 1 }", "top level: unknown key \"grammer\""},
        {"{ \"grammars\": [ { \"rules\": [] } ] }", "grammar 1: a grammar needs a \"name\""},
        {"{ \"grammars\": [ { \"name\": \"a\", \"rules\": [ { \"name\": \"r\", \"commands\": [1] } ] } ] }",
         "grammar 1, rule 1: \"commands\" must be a list of strings"},
        {"{ \"grammars\": [ { \"name\": \"a\", \"rules\": [ { \"name\": \"r\", \"commands\": [\"open zyzzyva\"] } ] } ] }",
         "command of rule \"r\" \"open zyzzyva\" was refused: the model does not know the word \"zyzzyva\""},
        {"{ \"grammars\": [ { \"name\": \"a\", \"activationKey\": \"abracadabra\" } ] }",
         "the activation key of grammar \"a\" \"abracadabra\" was refused: the model does not know the word "
         "\"abracadabra\""},
        {"{ \"grammars\": [], \"thresholds\": { \"command\": 101 } }", "thresholds: \"command\" must be 0 to 100"},
        {"{ \"grammars\": [], \"dictation\": { \"forcedWords\": [\"zyzzyva\"] } }",
         "the forced word \"zyzzyva\" was refused: the model does not know the word \"zyzzyva\""},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const std::string path = folder.write("bad" + std::to_string(i) + ".json", cases[i].first);
        const DemoRun run = runDemo({"--model", TestData::modelPath(), "--grammar", path, "--wav", clip});
        EXPECT_EQ(run.status, 4) << cases[i].second;
        EXPECT_NE(run.err.find("ksr-demo: grammar file " + path + ": " + cases[i].second), std::string::npos)
            << run.err;
        EXPECT_TRUE(run.out.empty());
    }
    const DemoRun missing = runDemo({"--grammar", folder.path() + "/none.json", "--wav", clip});
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(missing.err, "ksr-demo: grammar file " + folder.path() + "/none.json: cannot open it\n");
}

TEST_F(Demo, AnUnreadableAudioFileExitsWith5BeforeAnythingIsHeard)
{
    const std::string text = folder.write("notes.wav", "this is no sound file\n");
    const std::string clip = TestData::clip("cmd_open_file.wav");
    DemoRun run = hear(commandGrammar(), {clip, text});
    EXPECT_EQ(run.status, 5);
    EXPECT_NE(run.err.find("ksr-demo: cannot read audio file " + text + ": "), std::string::npos) << run.err;
    EXPECT_TRUE(run.out.empty()) << "nothing is heard when a file is bad";
    run = hear(commandGrammar(), {folder.path() + "/missing.wav"});
    EXPECT_EQ(run.status, 5);
    EXPECT_NE(run.err.find("cannot read audio file " + folder.path() + "/missing.wav"), std::string::npos);
}

TEST_F(Demo, WithoutAnyCaptureDeviceTheMicrophoneExitsWith6)
{
    // OpenAL's null back end has no capture device.
    DemoRun run = runDemo({"--model", TestData::modelPath(), "--mic"}, {"ALSOFT_DRIVERS=null"});
    EXPECT_EQ(run.status, 6);
    EXPECT_NE(run.err.find("ksr-demo: no microphone found"), std::string::npos) << run.err;
    run = runDemo({"--list-mics"}, {"ALSOFT_DRIVERS=null"});
    EXPECT_EQ(run.status, 6);
    EXPECT_NE(run.err.find("ksr-demo: no capture device found"), std::string::npos);
}

// --fast-commands and --chain, and the same two settings in the grammar file.
namespace {

const char* const kKeyedGrammar = R"({
  "grammars": [ { "name": "files", "activationKey": "north", "rules": [ { "name": "files", "commands": ["open file"] } ] },
                { "name": "edit", "activationKey": "south", "active": true,
                  "rules": [ { "name": "edit", "commands": ["save file"] } ] } ])";

Strings commandTexts(const DemoRun& run)
{
    Strings out;
    for (const DemoEvent& event : parseEvents(run))
        if (event.event == "command")
            out.push_back(event.text + " " + event.grammarName);
    return out;
}

}  // namespace

TEST_F(Demo, ChainFlagTakesAKeyAndItsCommandInOneBreath)
{
    const std::string grammar = folder.write("keyed.json", std::string(kKeyedGrammar) + "\n}\n");
    const std::string clip = std::string(KSR_SOURCE_DIR) + "/tests/clips/chain_north_open_file.wav";
    DemoRun run = hear(grammar, {clip});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(commandTexts(run).empty());
    Strings arguments = {"--model", TestData::modelPath(), "--grammar", grammar, "--json", "--fast-commands",
                         "--chain", "--wav", clip};
    run = runDemo(arguments);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(commandTexts(run), (Strings{"open file files"}));
}

TEST_F(Demo, SettingsInTheGrammarFile)
{
    const std::string grammar = folder.write(
        "keyed.json", std::string(kKeyedGrammar) + ",\n  \"settings\": { \"fastCommands\": 250, \"chain\": true }\n}\n");
    const DemoRun run = hear(grammar, {std::string(KSR_SOURCE_DIR) + "/tests/clips/chain_north_open_file.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(commandTexts(run), (Strings{"open file files"}));
}

TEST_F(Demo, BadFastCommandSettingsAreRefused)
{
    DemoRun run = runDemo({"--fast-commands", "soon", "--wav", "a.wav"});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("--fast-commands needs a quiet time of 1 to 5000 ms, not \"soon\""), std::string::npos)
        << run.err;
    const std::string grammar =
        folder.write("bad.json", std::string(kKeyedGrammar) + ",\n  \"settings\": { \"fastCommands\": -5 }\n}\n");
    run = hear(grammar, {"cmd_open_file.wav"});
    EXPECT_EQ(run.status, 4);
    EXPECT_NE(run.err.find("settings: \"fastCommands\" must be 0 (off) or a quiet time in ms"), std::string::npos)
        << run.err;
}

TEST_F(Demo, ABadShortQuietIsRefused)
{
    const DemoRun run = runDemo({"--short-quiet", "-3", "--wav", "a.wav"});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("--short-quiet needs a quiet time of 0 to 5000 ms, not \"-3\""), std::string::npos) << run.err;
}

// --- Commands with arguments: "patterns" and "lists" in the grammar file ---
namespace {

// A phrase and three patterns in one rule, one of them on a list whose
// spoken forms differ from their values.
const char* const kPatternGrammar = R"({
  "grammars": [ { "name": "all", "active": true, "rules": [ { "name": "r", "commands": ["open file"],
    "patterns": ["volume <level:number 0..100>", "turn <colour:list colours>", "select <count:number 1..20> words"] } ] } ],
  "lists": { "colours": { "red": "#ff0000", "dark red": "#8b0000", "blue": "#0000ff" } }
})";

// Made by the clip helper for commands with arguments (tests/clips).
std::string patternClip(const std::string& name) { return std::string(KSR_SOURCE_DIR) + "/tests/clips/" + name; }

// The command lines of a JSON run, exactly as printed.
Strings commandLines(const DemoRun& run)
{
    Strings out;
    for (const std::string& line : run.lines())
        if (line.rfind("{\"event\":\"command\"", 0) == 0)
            out.push_back(line);
    return out;
}

}  // namespace

TEST_F(Demo, PatternsAndListsOfTheGrammarFileGiveCommandsWithArguments)
{
    const std::string grammar = folder.write("patterns.json", kPatternGrammar);
    const DemoRun run =
        hear(grammar, {patternClip("pat_volume_100.wav"), patternClip("pat_turn_dark_red.wav"), "cmd_open_file.wav"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string ids = R"("grammar":102,"grammarName":"all","rule":12,"ruleName":"r",)";
    // The phrase's line is as it was before commands had arguments.
    EXPECT_EQ(commandLines(run),
              (Strings{R"({"event":"command","text":"volume one hundred",)" + ids + R"("command":1,"arguments":{"level":100}})",
                       R"({"event":"command","text":"turn dark red",)" + ids + R"("command":2,"arguments":{"colour":"#8b0000"}})",
                       R"({"event":"command","text":"open file",)" + ids + R"("command":0})"}))
        << run.out;
    // A number slot is a JSON number, a list slot the list's value as a string.
    const Strings lines = commandLines(run);
    ASSERT_EQ(lines.size(), 3U);
    rapidjson::Document volume;
    volume.Parse(lines[0].c_str());
    ASSERT_TRUE(volume.IsObject() && volume.HasMember("arguments"));
    EXPECT_TRUE(volume["arguments"]["level"].IsInt64());
    rapidjson::Document turn;
    turn.Parse(lines[1].c_str());
    ASSERT_TRUE(turn.IsObject() && turn.HasMember("arguments"));
    EXPECT_TRUE(turn["arguments"]["colour"].IsString());
}

TEST_F(Demo, TextOutputShowsTheArgumentValuesAfterTheWords)
{
    const std::string grammar = folder.write("patterns.json", kPatternGrammar);
    const DemoRun run =
        hear(grammar, {patternClip("pat_volume_100.wav"), patternClip("pat_turn_dark_red.wav"), "cmd_open_file.wav"},
             false);
    ASSERT_EQ(run.status, 0) << run.err;
    Strings commands;
    for (const std::string& line : run.lines())
        if (line.rfind("command ", 0) == 0)
            commands.push_back(line);
    EXPECT_EQ(commands, (Strings{"command     \"volume one hundred\"  [level=100]  grammar 102 all, rule 12 r, command 1",
                                 "command     \"turn dark red\"  [colour=\"#8b0000\"]  grammar 102 all, rule 12 r, command 2",
                                 "command     \"open file\"  grammar 102 all, rule 12 r, command 0"}))
        << run.out;
}

TEST_F(Demo, TheBundledGrammarHearsItsPatterns)
{
    // "edit" is on, its rule "arguments" (14, after the rules 12 and 13 of
    // "files" and "edit") holds the patterns.
    const DemoRun run =
        runDemo({"--model", TestData::modelPath(), "--json", "--wav", patternClip("pat_line_42.wav"),
                 patternClip("pat_turn_dark_red.wav"), patternClip("pat_volume_100.wav"),
                 patternClip("pat_select_20_words.wav"), TestData::clip("cmd_select_all.wav")});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string ids = R"("grammar":103,"grammarName":"edit","rule":14,"ruleName":"arguments",)";
    EXPECT_EQ(commandLines(run),
              (Strings{R"({"event":"command","text":"go to line forty two",)" + ids + R"("command":0,"arguments":{"line":42}})",
                       R"({"event":"command","text":"turn dark red",)" + ids + R"("command":2,"arguments":{"colour":"#8b0000"}})",
                       R"({"event":"command","text":"volume one hundred",)" + ids + R"("command":1,"arguments":{"level":100}})",
                       R"({"event":"command","text":"select twenty words",)" + ids + R"("command":3,"arguments":{"count":20}})",
                       // The phrase beside the pattern that begins like it.
                       R"({"event":"command","text":"select all","grammar":103,"grammarName":"edit","rule":13,"ruleName":"edit","command":1})"}))
        << run.out;
}

TEST_F(Demo, ABadPatternOrListExitsWith4AndSaysWhich)
{
    const std::string clip = TestData::clip("cmd_open_file.wav");
    const auto rule = [](const std::string& patterns) {
        return R"({ "grammars": [ { "name": "a", "rules": [ { "name": "r", "patterns": )" + patterns + " } ] } ]";
    };
    const std::string colours = R"(, "lists": { "colours": { "red": "r" } } })";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {rule("[1]") + " }", "grammar 1, rule 1: \"patterns\" must be a list of strings"},
        {R"({ "grammars": [], "lists": [] })", "\"lists\" must be an object of lists"},
        {R"({ "grammars": [], "lists": { "c": ["red"] } })",
         "list \"c\" must be an object of spoken forms and their values"},
        {R"({ "grammars": [], "lists": { "c": { "red": 1 } } })", "list \"c\": the value of \"red\" must be a string"},
        {R"({ "grammars": [], "lists": { "c": { "dark zyzzyva": "z" } } })",
         "list \"c\" was refused: the model does not know the word \"zyzzyva\""},
        {R"({ "grammars": [], "lists": { "c": { " ": "z" } } })",
         "list \"c\" was refused: an empty spoken form (for the value \"z\")"},
        {rule(R"(["open <n:number 1..3> zyzzyva"])") + " }",
         "pattern of rule \"r\" \"open <n:number 1..3> zyzzyva\" was refused: the model does not know the word "
         "\"zyzzyva\""},
        {rule(R"(["turn <c:list colours>", "turn <c:list colours>"])") + colours,
         "pattern of rule \"r\" \"turn <c:list colours>\" was refused: the rule has it already"},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const std::string path = folder.write("bad" + std::to_string(i) + ".json", cases[i].first);
        const DemoRun run = runDemo({"--model", TestData::modelPath(), "--grammar", path, "--wav", clip});
        EXPECT_EQ(run.status, 4) << cases[i].first;
        EXPECT_NE(run.err.find("ksr-demo: grammar file " + path + ": " + cases[i].second + "\n"), std::string::npos)
            << run.err;
        EXPECT_TRUE(run.out.empty());
    }
    // A pattern the module cannot read: the demo names it and gives the
    // module's reason (its syntax errors are the module's own words).
    const std::vector<std::pair<std::string, std::string>> unreadable = {
        {"go to line <line:number 10..1>", "10..1"},
        {"turn <c:list shades>", "shades"},
        {"open [file", "["},
    };
    for (std::size_t i = 0; i < unreadable.size(); ++i) {
        const std::string path =
            folder.write("unreadable" + std::to_string(i) + ".json", rule("[\"" + unreadable[i].first + "\"]") + colours);
        const DemoRun run = runDemo({"--model", TestData::modelPath(), "--grammar", path, "--wav", clip});
        EXPECT_EQ(run.status, 4) << unreadable[i].first;
        const std::string said =
            "ksr-demo: grammar file " + path + ": pattern of rule \"r\" \"" + unreadable[i].first + "\" was refused: ";
        const std::size_t at = run.err.find(said);
        ASSERT_NE(at, std::string::npos) << run.err;
        const std::string reason = run.err.substr(at + said.size(), run.err.find('\n', at) - at - said.size());
        EXPECT_NE(reason.find(unreadable[i].second), std::string::npos) << reason;
        EXPECT_TRUE(run.out.empty());
    }
}
