#ifndef KSR_TESTS_MANAGER_FIXTURE_H
#define KSR_TESTS_MANAGER_FIXTURE_H

// A manager that records what it reports, and a fixture that runs it on the
// libvosk test double: results are scripted per recognizer kind and reach the
// manager through the engine's two registered functions, as in production.

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "fake_vosk.h"
#include "ksr_vosk_manager.h"
#include "log_capture.h"
#include "vosk_engine.h"

struct Report {
    enum Kind { Recognition, Hypothesis, Failure } kind;
    KSR::SRData data;
};

// Found by argument-dependent lookup from GoogleTest and the standard
// algorithms.
namespace KSR {

inline bool operator==(const KSR::SRData& a, const KSR::SRData& b)
{
    return a.grammarId == b.grammarId && a.ruleId == b.ruleId && a.commandId == b.commandId && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& out, const KSR::SRData& d)
{
    return out << "{g" << d.grammarId << " r" << d.ruleId << " c" << d.commandId << " \"" << d.text << "\"}";
}

}  // namespace KSR

// Records every report and still lets the manager's own versions log.
class RecordingManager : public KSR_VoskManager {
public:
    void processRecognition(KSR::SRData data) override
    {
        add({Report::Recognition, data});
        KSR_VoskManager::processRecognition(data);
    }
    void processRecognitionFailed() override
    {
        add({Report::Failure, KSR::SRData()});
        KSR_VoskManager::processRecognitionFailed();
    }
    void processHypothesis(KSR::SRData data) override
    {
        add({Report::Hypothesis, data});
        KSR_VoskManager::processHypothesis(data);
    }

    std::vector<Report> reports() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_reports;
    }
    std::vector<KSR::SRData> recognitions() const { return only(Report::Recognition); }
    std::vector<KSR::SRData> hypotheses() const { return only(Report::Hypothesis); }
    int failures() const { return static_cast<int>(only(Report::Failure).size()); }
    void clearReports()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_reports.clear();
    }

    using KSR_VoskManager::activationKeysGrammar;
    using KSR_VoskManager::engine;

private:
    void add(const Report& report)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_reports.push_back(report);
    }
    std::vector<KSR::SRData> only(Report::Kind kind) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<KSR::SRData> out;
        for (const auto& report : m_reports)
            if (report.kind == kind)
                out.push_back(report.data);
        return out;
    }

    mutable std::mutex m_mutex;
    std::vector<Report> m_reports;
};

// JSON texts as libvosk writes them.
namespace Json {

inline std::string partial(const std::string& text) { return "{\n  \"partial\" : \"" + text + "\"\n}"; }

inline std::string final(const std::string& text, const std::vector<std::string>& confs)
{
    std::string json = "{\n  \"result\" : [";
    for (std::size_t i = 0; i < confs.size(); ++i)
        json += std::string(i ? ", " : "") + "{\n      \"conf\" : " + confs[i] + ",\n      \"word\" : \"w\"\n    }";
    return json + "],\n  \"text\" : \"" + text + "\"\n}";
}

// A final result whose every word has confidence 1.
inline std::string sure(const std::string& text)
{
    std::vector<std::string> confs;
    for (char c : text + " ")
        if (c == ' ')
            confs.push_back("1.000000");
    return final(text, confs);
}

}  // namespace Json

// Every word the tests' phrases use.
inline std::set<std::string> testVocabulary()
{
    return {"open",   "file",       "close",     "window",      "north",     "south",  "east",   "west",
            "go",     "back",       "save",      "undo",        "zoom",      "in",     "select", "all",
            "literal", "force",     "start",     "stop",        "spelling",  "numerals", "capitals", "on",
            "off",    "new",        "line",      "add",         "space",     "tab",    "period", "comma",
            "colon",  "semicolon",  "quotation", "mark",        "question",  "exclamation", "parenthesis",
            "left",   "right",      "bracket",   "brace",       "smith",     "hello",  "world",  "a", "b", "c"};
}

class ManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        FakeVosk::reset();
        {
            std::lock_guard<std::mutex> lock(FakeVosk::mutex());
            FakeVosk::state().vocabulary = testVocabulary();
        }
        chunk.assign(3200, '\0');
        manager.reset(new RecordingManager());
    }
    void TearDown() override { manager.reset(); }

    void initialize() { ASSERT_TRUE(manager->initialize("/model")); }

    // One chunk of audio through the manager.
    void feed() { manager->processAudio(chunk.data(), static_cast<int>(chunk.size())); }

    // The first chunk after a grammar change builds a command recognizer from
    // the new phrases and drops it with the chunk; this feeds that chunk with
    // nothing scripted.
    void prime() { feed(); }

    // Scripts one command result and feeds the chunk that delivers it.
    void say(const std::string& json, int accept = 1)
    {
        FakeVosk::pushStep(FakeVosk::Kind::Command, accept, json);
        feed();
    }

    // The same for the dictation recognizer: the command recognizer hears
    // nothing in this chunk.
    void dictate(const std::string& json, int accept = 1)
    {
        FakeVosk::pushStep(FakeVosk::Kind::Command, 0, Json::partial(""));
        FakeVosk::pushStep(FakeVosk::Kind::Dictation, accept, json);
        feed();
    }

    // Grammar "files" (open file) and grammar "windows" (close window), both
    // on, listening with a command recognizer built from both; returns the
    // id of "files" (the dictation grammar gives the literal keyword).
    KSR::GrammarId listenToFilesAndWindows()
    {
        initialize();
        manager->addDictationGrammar("");
        const KSR::GrammarId files = manager->addCommandGrammar("");
        const KSR::GrammarId windows = manager->addCommandGrammar("");
        manager->addCommand(manager->addRule(files, "files"), "open file");
        manager->addCommand(manager->addRule(windows, "windows"), "close window");
        manager->setActivated(files, true);
        manager->setActivated(windows, true);
        manager->startRecognizing();
        prime();
        feed();  // the recognizer this chunk builds is kept
        return files;
    }

    void spell(const std::string& json)
    {
        FakeVosk::pushStep(FakeVosk::Kind::Command, 0, Json::partial(""));
        FakeVosk::pushStep(FakeVosk::Kind::Spelling, 1, json);
        feed();
    }

    LogCapture log;
    std::string chunk;
    std::unique_ptr<RecordingManager> manager;
};

#endif
