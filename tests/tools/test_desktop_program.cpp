// The desktop host as a user runs it: its pictures (--screenshot), offscreen
// and on a real X server (Xvfb), and its errors, each with the exit status
// ksr-demo gives for it.
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QSet>
#include <QTemporaryDir>

#include <fstream>

#include "program_runner.h"
#include "test_data.h"

namespace {

using Strings = std::vector<std::string>;

const int kWidth = 1120;  // MainWindow's size
const int kHeight = 700;

bool haveCommand(const std::string& name)
{
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

// What a picture holds: its size, how many colours, how much of it is
// dark ink (text, lines) and how much strongly coloured.
struct PictureFacts {
    QSize size;
    int colours = 0;
    double ink = 0.0;
    double coloured = 0.0;
};

PictureFacts factsOf(const std::string& path)
{
    PictureFacts facts;
    const QImage image(QString::fromStdString(path));
    if (image.isNull())
        return facts;
    facts.size = image.size();
    QSet<QRgb> colours;
    long ink = 0;
    long coloured = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            colours.insert(colour.rgb());
            ink += colour.lightness() < 100;
            coloured += colour.hsvSaturation() > 120 && colour.value() > 80;
        }
    const double pixels = double(image.width()) * image.height();
    facts.colours = colours.size();
    facts.ink = ink / pixels;
    facts.coloured = coloured / pixels;
    return facts;
}

// A window with its text drawn: the expected size, many shades (antialiased
// glyphs), some dark ink but not a dark screen, and some colour.
void expectWindowPicture(const std::string& path)
{
    const PictureFacts facts = factsOf(path);
    EXPECT_EQ(facts.size, QSize(kWidth, kHeight)) << path;
    EXPECT_GE(facts.colours, 64) << "a blank or flat picture";
    EXPECT_GT(facts.ink, 0.004) << "no text drawn";
    EXPECT_LT(facts.ink, 0.25) << "mostly dark";
    EXPECT_GT(facts.coloured, 0.0005) << "no colour";
}

class DesktopProgram : public testing::Test {
protected:
    void SetUp() override
    {
        KSR_REQUIRE_DATA(TestData::modelPath());
        ASSERT_TRUE(folder.isValid());
    }
    // Without sound devices (OpenAL's null back end), and with a runtime
    // folder of its own, which Qt otherwise warns about on standard error.
    ProgramRun runDesktop(const Strings& arguments, const Strings& environment = {}) const
    {
        Strings all = {"ALSOFT_DRIVERS=null", runtimeFolder()};
        all.insert(all.end(), environment.begin(), environment.end());
        return runProgram(KSR_DESKTOP_PROGRAM, arguments, all);
    }
    std::string runtimeFolder() const { return "XDG_RUNTIME_DIR=" + folder.path().toStdString(); }
    std::string path(const std::string& name) const { return folder.filePath(QString::fromStdString(name)).toStdString(); }
    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    QTemporaryDir folder;
};

}  // namespace

TEST_F(DesktopProgram, TakesAPictureOfItsWindow)
{
    const std::string picture = path("window.png");
    const ProgramRun run = runDesktop({"--model", TestData::modelPath(), "--screenshot", picture});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.out.empty()) << run.out;
    expectWindowPicture(picture);
}

TEST_F(DesktopProgram, TakesAPictureOnARealXServer)
{
    if (!haveCommand("xvfb-run")) {
        if (TestData::underCi())
            FAIL() << "xvfb-run missing under CI (scripts/setup.sh installs xvfb)";
        GTEST_SKIP() << "xvfb-run missing (Debian package xvfb)";
    }
    const std::string picture = path("xvfb.png");
    const ProgramRun run =
        runProgram("xvfb-run", {"-a", "-s", "-screen 0 1280x1024x24", "env", "QT_QPA_PLATFORM=xcb", "ALSOFT_DRIVERS=null",
                                runtimeFolder(), KSR_DESKTOP_PROGRAM, "--model", TestData::modelPath(), "--screenshot",
                                picture, "--after", "0.5"});
    ASSERT_EQ(run.status, 0) << run.err;
    expectWindowPicture(picture);
}

TEST_F(DesktopProgram, AnUnwritablePictureExitsWith7)
{
    const std::string picture = path("missing/folder/window.png");
    const ProgramRun run = runDesktop({"--model", TestData::modelPath(), "--screenshot", picture});
    EXPECT_EQ(run.status, 7);
    EXPECT_NE(run.err.find("ksr-desktop: cannot write the picture to " + picture + "\n"), std::string::npos) << run.err;
}

TEST_F(DesktopProgram, BadArgumentsExitWith2AndSayWhy)
{
    const std::vector<std::pair<Strings, std::string>> cases = {
        {{"--frobnicate"}, "unknown argument \"--frobnicate\""},
        {{"--screenshot"}, "--screenshot needs a value"},
        {{"--grammar", "--listen"}, "--grammar needs a value"},
        {{"--after", "2"}, "--after applies to --screenshot only"},
        {{"--screenshot", "a.png", "--after", "soon"}, "--after needs a number of seconds (0 to 3600), not \"soon\""},
    };
    for (const auto& c : cases) {
        const ProgramRun run = runDesktop(c.first);
        EXPECT_EQ(run.status, 2) << c.second;
        EXPECT_EQ(run.err.rfind("ksr-desktop: " + c.second + "\n\nusage: ksr-desktop", 0), 0U) << run.err;
    }
    const ProgramRun help = runDesktop({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("usage: ksr-desktop", 0), 0U);
}

TEST_F(DesktopProgram, AMissingOrUnusableModelExitsWith3)
{
    const std::string picture = path("window.png");
    ProgramRun run = runDesktop({"--model", path("nothing"), "--screenshot", picture});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "ksr-desktop: no acoustic model folder at " + path("nothing") + "\n");

    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(path("empty"))));
    run = runDesktop({"--model", path("empty"), "--screenshot", picture});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "ksr-desktop: " + path("empty") + " is no acoustic model: it has neither mfcc.conf nor "
                       "conf/mfcc.conf\n");

    // A feature configuration alone is not a model: the module refuses it
    // and says why.
    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(path("fake"))));
    write("fake/mfcc.conf", "--sample-frequency=16000\n");
    run = runDesktop({"--model", path("fake"), "--screenshot", picture});
    EXPECT_EQ(run.status, 3);
    EXPECT_NE(run.err.find("ksr-desktop: the acoustic model at \"" + path("fake") + "\" could not be loaded\n"),
              std::string::npos)
        << run.err;

    // The environment variable is the default when --model is not given.
    run = runDesktop({"--screenshot", picture}, {"KALO_ACOUSTIC_MODEL_PATH=" + path("nothing")});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.err, "ksr-desktop: no acoustic model folder at " + path("nothing") + "\n");
    EXPECT_FALSE(QFile::exists(QString::fromStdString(picture))) << "no picture after an error";
}

TEST_F(DesktopProgram, ABadGrammarFileExitsWith4AndSaysWhere)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"{\n  \"grammars\": [,]\n}", "not valid JSON at line 2: Invalid value."},
        {"{ \"grammars\": [], \"grammer\": 1 }", "top level: unknown key \"grammer\""},
        {"{ \"grammars\": [ { \"name\": \"a\", \"rules\": [ { \"name\": \"r\", \"commands\": [\"open zyzzyva\"] } ] } ] }",
         "command of rule \"r\" \"open zyzzyva\" was refused: the model does not know the word \"zyzzyva\""},
        {"{ \"grammars\": [], \"settings\": { \"fastCommands\": -5 } }",
         "settings: \"fastCommands\" must be 0 (off) or a quiet time in ms"},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const std::string grammar = write("bad" + std::to_string(i) + ".json", cases[i].first);
        const ProgramRun run =
            runDesktop({"--model", TestData::modelPath(), "--grammar", grammar, "--screenshot", path("w.png")});
        EXPECT_EQ(run.status, 4) << cases[i].second;
        EXPECT_NE(run.err.find("ksr-desktop: grammar file " + grammar + ": " + cases[i].second + "\n"),
                  std::string::npos)
            << run.err;
    }
    const ProgramRun missing = runDesktop({"--grammar", path("none.json"), "--screenshot", path("w.png")});
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(missing.err, "ksr-desktop: grammar file " + path("none.json") + ": cannot open it\n");
}

TEST_F(DesktopProgram, ListeningWithoutAnyMicrophoneExitsWith6)
{
    // OpenAL's null back end has no capture device.
    const ProgramRun run =
        runDesktop({"--model", TestData::modelPath(), "--listen", "--screenshot", path("w.png"), "--after", "1"});
    EXPECT_EQ(run.status, 6);
    EXPECT_NE(run.err.find("ksr-desktop: no microphone found\n"), std::string::npos) << run.err;
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path("w.png"))));
}

TEST_F(DesktopProgram, ABadPatternOrListExitsWith4AndSaysWhich)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({ "grammars": [ { "name": "a", "rules": [ { "name": "r", "patterns": ["open <n:number 1..3> zyzzyva"] } ] } ] })",
         "pattern of rule \"r\" \"open <n:number 1..3> zyzzyva\" was refused: the model does not know the word "
         "\"zyzzyva\""},
        {R"({ "grammars": [], "lists": { "c": { "dark zyzzyva": "z" } } })",
         "list \"c\" was refused: the model does not know the word \"zyzzyva\""},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const std::string grammar = write("bad" + std::to_string(i) + ".json", cases[i].first);
        const ProgramRun run =
            runDesktop({"--model", TestData::modelPath(), "--grammar", grammar, "--screenshot", path("w.png")});
        EXPECT_EQ(run.status, 4) << cases[i].second;
        EXPECT_NE(run.err.find("ksr-desktop: grammar file " + grammar + ": " + cases[i].second + "\n"),
                  std::string::npos)
            << run.err;
    }
}
