// The desktop host's window listening to the virtual microphone
// (scripts/virtual_mic.sh) with the real library and the shared model: the
// user clicks Listen, says a grammar's key, one of its commands, the
// dictation key and a sentence, and the tree, the log and the document
// show them.
#include <QPlainTextEdit>
#include <QPushButton>

#include "control_panel.h"
#include "desktop_window_fixture.h"
#include "event_log.h"
#include "mic_session.h"
#include "state_panel.h"
#include "tsan_audio_libraries.h"

using namespace DesktopIds;

static const bool kEnvironment = VirtualMic::configure();

namespace {

class DesktopMicrophone : public DesktopWindow {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(kEnvironment);
        KSR_REQUIRE_VIRTUAL_MIC();
        KSR_REQUIRE_DATA(TestData::audioDir());
        DesktopWindow::SetUp();
    }

    bool on(KSR::GrammarId id) { return tree().grammarItem(id)->checkState(GrammarTree::NameColumn) == Qt::Checked; }

    bool logged(const QString& line)
    {
        for (int row = 0; row < window->eventLog().topLevelItemCount(); ++row)
            if (window->eventLog().lineText(row) == line)
                return true;
        return false;
    }

    // What the window's log showed, newest first, for a failure's message.
    std::string eventLogLines()
    {
        std::string lines;
        for (int row = 0; row < window->eventLog().topLevelItemCount(); ++row)
            lines += "\n  " + window->eventLog().lineText(row).toStdString();
        return lines;
    }
};

}  // namespace

TEST_F(DesktopMicrophone, ShowsAKeyACommandAndDictationSpokenIntoTheMicrophone)
{
    window->controls().listenButton()->click();
    ASSERT_TRUE(waitFor([&] { return window->statePanel().listening(); }, 10000));
    EXPECT_FALSE(window->controls().listenButton()->isEnabled());
    pumpEvents(500);  // the microphone's quiet noise before the first word

    EXPECT_TRUE(hearClip("key_north.wav", [&] { return on(Files) && !on(Edit); }));
    EXPECT_TRUE(logged("grammar files on"));
    EXPECT_TRUE(logged("grammar edit off"));

    EXPECT_TRUE(hearClip("cmd_open_file.wav", [&] {
        return logged("command \"open file\"  grammar 102 files, rule 12 files, command 0");
    }));

    EXPECT_TRUE(hearClip("key_activate_smith.wav", [&] { return on(Dictation) && !on(Files); }));
    EXPECT_TRUE(window->statePanel().modeOn(StatePanel::Dictation));
    EXPECT_TRUE(logged("mode dictation on"));

    EXPECT_TRUE(hearClip("dict_hello_world.wav", [&] { return !window->document().text().empty(); }));
    EXPECT_EQ(window->document().text(), "Hello world") << "the event log:" << eventLogLines();
    EXPECT_EQ(window->documentView().toPlainText(), "Hello world");
    EXPECT_TRUE(logged("text \"Hello world\""));

    window->controls().stopButton()->click();
    EXPECT_TRUE(waitFor([&] { return !window->statePanel().listening(); }));
    EXPECT_EQ(window->eventLog().lineText(0), "listening stopped");
}
