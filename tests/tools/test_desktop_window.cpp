// The desktop host's window, offscreen, driven by the user's clicks and by
// the module's signals, which the test emits itself (no audio): the tree
// of the grammar file, boxes that switch grammars and rules in the module,
// the log, the dictated document, the state panel and the controls.
#include <QCheckBox>
#include <QComboBox>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTimer>

#include "control_panel.h"
#include "desktop_startup.h"
#include "desktop_window_fixture.h"
#include "error_report.h"
#include "event_log.h"
#include "state_panel.h"

using namespace DesktopIds;

namespace {

QStringList childTexts(const QTreeWidgetItem* item)
{
    QStringList texts;
    for (int i = 0; i < item->childCount(); ++i)
        texts << item->child(i)->text(GrammarTree::NameColumn);
    return texts;
}

KSR::SRData result(KSR::GrammarId grammar, KSR::RuleId rule, KSR::CommandId command, const std::string& text)
{
    KSR::SRData data;
    data.grammarId = grammar;
    data.ruleId = rule;
    data.commandId = command;
    data.text = text;
    return data;
}

}  // namespace

TEST_F(DesktopWindow, ShowsTheGrammarFileAsATree)
{
    ASSERT_EQ(tree().topLevelItemCount(), 3);
    const QTreeWidgetItem* files = tree().topLevelItem(0);
    const QTreeWidgetItem* edit = tree().topLevelItem(1);
    const QTreeWidgetItem* dictation = tree().topLevelItem(2);
    EXPECT_EQ(files->text(GrammarTree::NameColumn), "files");
    EXPECT_EQ(files->text(GrammarTree::KeyColumn), "north");
    EXPECT_EQ(files->text(GrammarTree::IdColumn), "102");
    EXPECT_EQ(edit->text(GrammarTree::NameColumn), "edit");
    EXPECT_EQ(edit->text(GrammarTree::KeyColumn), "south");
    EXPECT_EQ(dictation->text(GrammarTree::NameColumn), "dictation");
    EXPECT_EQ(dictation->text(GrammarTree::KeyColumn), "activate smith");
    EXPECT_EQ(tree().grammarItem(Files), files);
    EXPECT_EQ(tree().grammarItem(Dictation), dictation);

    // On and off as the file says: edit on, files and dictation off.
    EXPECT_EQ(files->checkState(GrammarTree::NameColumn), Qt::Unchecked);
    EXPECT_EQ(edit->checkState(GrammarTree::NameColumn), Qt::Checked);
    EXPECT_EQ(dictation->checkState(GrammarTree::NameColumn), Qt::Unchecked);

    ASSERT_EQ(files->childCount(), 1);
    const QTreeWidgetItem* filesRule = files->child(0);
    EXPECT_EQ(filesRule->text(GrammarTree::NameColumn), "files");
    EXPECT_EQ(filesRule->text(GrammarTree::IdColumn), "12");
    // The module switches a grammar's rules with it: those of "files" are off.
    EXPECT_EQ(filesRule->checkState(GrammarTree::NameColumn), Qt::Unchecked);
    EXPECT_EQ(edit->child(0)->checkState(GrammarTree::NameColumn), Qt::Checked);
    EXPECT_EQ(childTexts(filesRule), (QStringList{"open file", "close window", "new tab", "go back"}));
    EXPECT_EQ(filesRule->child(3)->text(GrammarTree::IdColumn), "3");
    EXPECT_EQ(childTexts(edit->child(0)), (QStringList{"save file", "select all", "undo", "zoom in", "scroll down"}));
    // The dictation grammar holds the formatting phrases, folded away.
    EXPECT_EQ(dictation->child(0)->text(GrammarTree::NameColumn), "formatting");
    EXPECT_TRUE(childTexts(dictation->child(0)).contains("new line"));
    EXPECT_FALSE(dictation->isExpanded());
    EXPECT_TRUE(files->isExpanded());
}

TEST_F(DesktopWindow, ClickingAGrammarsBoxSwitchesItInTheModule)
{
    ASSERT_FALSE(moduleHasOn(Files));
    clickBox(tree().grammarItem(Files));
    EXPECT_TRUE(moduleHasOn(Files));
    EXPECT_EQ(tree().grammarItem(Files)->checkState(GrammarTree::NameColumn), Qt::Checked);
    EXPECT_EQ(tree().ruleItem(FilesRule)->checkState(GrammarTree::NameColumn), Qt::Checked);
    EXPECT_TRUE(sr().isRuleActivated(FilesRule));
    // The module reports the switch, and the log shows it.
    EXPECT_EQ(window->eventLog().lineText(0), "grammar files on");

    clickBox(tree().grammarItem(Edit));
    EXPECT_FALSE(moduleHasOn(Edit));
    EXPECT_EQ(window->eventLog().lineText(0), "grammar edit off");

    // The dictation grammar switches dictation on.
    clickBox(tree().grammarItem(Dictation));
    EXPECT_TRUE(sr().isDictationModeEnabled());
    EXPECT_TRUE(window->statePanel().modeOn(StatePanel::Dictation));
}

TEST_F(DesktopWindow, ClickingARulesBoxSwitchesTheRule)
{
    ASSERT_TRUE(sr().isRuleActivated(EditRule));
    clickBox(tree().ruleItem(EditRule));
    EXPECT_FALSE(sr().isRuleActivated(EditRule));
    EXPECT_EQ(tree().ruleItem(EditRule)->checkState(GrammarTree::NameColumn), Qt::Unchecked);
    EXPECT_TRUE(moduleHasOn(Edit)) << "the grammar stays on";
    // Its commands cannot be heard now: greyed.
    const QTreeWidgetItem* saveFile = tree().ruleItem(EditRule)->child(0);
    EXPECT_NE(saveFile->foreground(GrammarTree::NameColumn).color(),
              tree().ruleItem(FilesRule)->foreground(GrammarTree::NameColumn).color());
    clickBox(tree().ruleItem(EditRule));
    EXPECT_TRUE(sr().isRuleActivated(EditRule));
}

TEST_F(DesktopWindow, AGrammarSignalUpdatesTheTree)
{
    // What a spoken "north" makes the module emit.
    emit sr().grammarActivatedSignal(Files, true);
    emit sr().grammarActivatedSignal(Edit, false);
    EXPECT_EQ(tree().grammarItem(Files)->checkState(GrammarTree::NameColumn), Qt::Checked);
    EXPECT_EQ(tree().grammarItem(Edit)->checkState(GrammarTree::NameColumn), Qt::Unchecked);
    EXPECT_EQ(window->eventLog().lineText(0), "grammar edit off");
    EXPECT_EQ(window->eventLog().lineText(1), "grammar files on");
    // The module's own grammar of keys (100) is not shown.
    const int lines = window->eventLog().topLevelItemCount();
    emit sr().grammarActivatedSignal(100, true);
    EXPECT_EQ(window->eventLog().topLevelItemCount(), lines);
}

TEST_F(DesktopWindow, AResultAddsALogLineAndDictatedTextReachesTheDocument)
{
    emit sr().recognitionResult(result(Files, FilesRule, 0, "open file"));
    EXPECT_EQ(window->eventLog().lineText(0), "command \"open file\"  grammar 102 files, rule 12 files, command 0");
    EXPECT_EQ(window->eventLog().topLevelItem(0)->text(EventLog::TimeColumn).size(), 12);  // HH:mm:ss.zzz
    EXPECT_TRUE(window->documentView().toPlainText().isEmpty()) << "a command writes nothing";

    emit sr().recognitionResult(result(Dictation, KSR::InvalidRuleId, KSR::InvalidCommandId, "Hello world"));
    emit sr().recognitionResult(result(Dictation, FormattingRule, 10, ","));
    emit sr().recognitionResult(result(Dictation, KSR::InvalidRuleId, KSR::InvalidCommandId, " I think so"));
    emit sr().recognitionResult(result(Dictation, FormattingRule, 7, "\n"));
    EXPECT_EQ(window->documentView().toPlainText(), "Hello world, I think so\n");
    EXPECT_EQ(window->document().text(), "Hello world, I think so\n");
    EXPECT_EQ(window->eventLog().lineText(0), "format \"\\n\"  command 7");
    EXPECT_EQ(window->eventLog().lineText(1), "text \" I think so\"");
    EXPECT_EQ(window->eventLog().lineText(4), "command \"open file\"  grammar 102 files, rule 12 files, command 0");
}

TEST_F(DesktopWindow, FailuresModesAndHypothesesAreLogged)
{
    emit sr().recognitionFailed();
    EXPECT_EQ(window->eventLog().lineText(0), "failed");
    emit sr().spellingModeActivated(true);
    EXPECT_TRUE(window->statePanel().modeOn(StatePanel::Spelling));
    EXPECT_FALSE(window->statePanel().modeOn(StatePanel::Numerals));
    EXPECT_EQ(window->eventLog().lineText(0), "mode spelling on");
    emit sr().capitalsModeActivated(true);
    emit sr().numeralsModeActivated(true);
    emit sr().capitalsModeActivated(false);
    EXPECT_TRUE(window->statePanel().modeOn(StatePanel::Numerals));
    EXPECT_FALSE(window->statePanel().modeOn(StatePanel::Capitals));
    EXPECT_EQ(window->eventLog().lineText(0), "mode capitals off");

    // Hypotheses only when asked for.
    const int lines = window->eventLog().topLevelItemCount();
    emit sr().hypothesisResult(result(Edit, EditRule, 0, "save"));
    EXPECT_EQ(window->eventLog().topLevelItemCount(), lines);
    window->controls().hypotheses()->click();
    emit sr().hypothesisResult(result(Edit, EditRule, 0, "save fi"));
    EXPECT_EQ(window->eventLog().lineText(0), "hypothesis \"save fi\"");
    EXPECT_TRUE(sr().hypothesisOnChangeOnly());
}

TEST_F(DesktopWindow, ListeningAndMicrophoneSignalsShowInTheState)
{
    ASSERT_FALSE(window->statePanel().listening());
    emit sr().listeningStarted();
    EXPECT_TRUE(window->statePanel().listening());
    EXPECT_FALSE(window->controls().listenButton()->isEnabled());
    EXPECT_TRUE(window->controls().stopButton()->isEnabled());
    EXPECT_EQ(window->eventLog().lineText(0).left(11), "listening \"");

    emit sr().microphoneDisconnected("Desk Mic");
    EXPECT_EQ(window->eventLog().lineText(0), "microphone \"Desk Mic\" lost");
    EXPECT_TRUE(window->statePanel().microphoneText().contains("lost"));
    emit sr().microphoneReconnected("Desk Mic");
    EXPECT_EQ(window->eventLog().lineText(0), "microphone \"Desk Mic\" back");
    EXPECT_FALSE(window->statePanel().microphoneText().contains("lost"));

    emit sr().listeningStopped(K_SRInterface::ListeningEnd::Stopped);
    EXPECT_FALSE(window->statePanel().listening());
    EXPECT_TRUE(window->controls().listenButton()->isEnabled());
    EXPECT_EQ(window->eventLog().lineText(0), "listening stopped");
}

TEST_F(DesktopWindow, AListeningThatFailsIsReported)
{
    std::vector<std::string> reported;
    window->listeningFailed = [&](const std::string& error) { reported.push_back(error); };
    emit sr().listeningStopped(K_SRInterface::ListeningEnd::Failed);
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0], "cannot capture from \"" + sr().captureDevice() + "\"");
    EXPECT_EQ(window->eventLog().lineText(0), "listening failed to begin");
}

TEST_F(DesktopWindow, TheControlsShowAndChangeTheModulesSettings)
{
    ControlPanel& controls = window->controls();
    // Paced listening is the desktop's default.
    EXPECT_EQ(sr().listeningPace(), K_VoskInterface::RecommendedListeningPace);
    EXPECT_TRUE(controls.pacedListening()->isChecked());
    controls.pacedListening()->click();
    EXPECT_EQ(sr().listeningPace(), 0);
    // So is silence skipping.
    EXPECT_TRUE(sr().silenceSkipping());
    EXPECT_TRUE(controls.silenceSkipping()->isChecked());
    controls.silenceSkipping()->click();
    EXPECT_FALSE(sr().silenceSkipping());

    EXPECT_EQ(controls.commandThreshold()->value(), 90);
    controls.commandThreshold()->setValue(95);
    EXPECT_EQ(sr().getCommandRequiredConfidence(), 95);
    EXPECT_EQ(controls.dictationThreshold()->value(), sr().dictationRequiredConfidence());
    controls.dictationThreshold()->setValue(60);
    EXPECT_EQ(sr().dictationRequiredConfidence(), 60);

    EXPECT_EQ(controls.fastCommands()->text(), "off");
    controls.fastCommands()->setValue(KSR_VoskManager::DefaultFastCommandsQuiet);
    EXPECT_EQ(sr().fastCommands(), KSR_VoskManager::DefaultFastCommandsQuiet);
    EXPECT_FALSE(sr().commandChaining());
    controls.chaining()->click();
    EXPECT_TRUE(sr().commandChaining());

    QStringList rates;
    for (int i = 0; i < controls.rates()->count(); ++i)
        rates << controls.rates()->itemText(i);
    EXPECT_EQ(rates, (QStringList{"16000 Hz", "44100 Hz", "48000 Hz"}));
    EXPECT_EQ(controls.rates()->currentData().toInt(), sr().captureFrequency());
}

TEST_F(DesktopWindow, ChoosingARateSwitchesTheMicrophoneRate)
{
    QComboBox* rates = window->controls().rates();
    const int index = rates->findData(48000) == rates->currentIndex() ? rates->findData(16000) : rates->findData(48000);
    const int wanted = rates->itemData(index).toInt();
    rates->setCurrentIndex(index);
    emit rates->activated(index);
    EXPECT_EQ(sr().captureFrequency(), wanted);
    EXPECT_TRUE(window->statePanel().microphoneText().contains(QString::number(wanted) + " Hz"));
}

TEST_F(DesktopWindow, TheGrammarFilesSettingsReachTheControls)
{
    std::string error;
    GrammarFile file;
    file.grammars.push_back(GrammarSpec{"all", "", true, {RuleSpec{"r", true, {"open file"}}}});
    file.fastCommands = 300;
    file.chain = true;
    file.commandThreshold = 92;
    MainWindow other;
    ASSERT_TRUE(other.loadGrammar(file, "mine.json", error)) << error;
    EXPECT_EQ(other.controls().fastCommands()->value(), 300);
    EXPECT_TRUE(other.controls().chaining()->isChecked());
    EXPECT_EQ(other.controls().commandThreshold()->value(), 92);
    EXPECT_EQ(other.windowTitle(), QString::fromUtf8("kalo-sr desktop \u2014 mine.json"));
}

// --- Errors in dialogs ------------------------------------------------

TEST(DesktopErrors, AnErrorThatEndsTheProgramWaitsInADialog)
{
    QString shown;
    QTimer::singleShot(50, [&shown] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            shown = box->text();
            EXPECT_EQ(box->windowTitle(), "ksr-desktop");
            EXPECT_EQ(box->icon(), QMessageBox::Critical);
            box->accept();
        }
    });
    EXPECT_EQ(ErrorReport(true).fail(4, "grammar file x.json: cannot open it"), 4);
    EXPECT_EQ(shown, "grammar file x.json: cannot open it");
}

TEST(DesktopErrors, AnErrorTheWindowLivesOnAfterDoesNotWait)
{
    QWidget parent;
    parent.show();
    ErrorReport(true).tell("no microphone found", &parent);
    // Back at once; the dialog is open.
    QMessageBox* box = parent.findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->isVisible());
    EXPECT_EQ(box->text(), "no microphone found");
    box->close();
}

TEST(DesktopErrors, WithoutDialogsNothingOpens)
{
    QWidget parent;
    EXPECT_EQ(ErrorReport(false).fail(3, "no acoustic model folder at /x", &parent), 3);
    ErrorReport(false).tell("no microphone found", &parent);
    EXPECT_EQ(parent.findChild<QMessageBox*>(), nullptr);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST(DesktopWithoutMicrophone, ListenSaysThereIsNoMicrophone)
{
    KSR_REQUIRE_DATA(TestData::modelPath());
    // OpenAL's null back end has no capture device (OpenAL reads this once,
    // and each test runs in a process of its own under ctest).
    ::setenv("ALSOFT_DRIVERS", "null", 1);
    std::string model;
    std::string error;
    ASSERT_TRUE(selectModel(TestData::modelPath(), model, error)) << error;
    MainWindow window;
    ASSERT_TRUE(window.loadGrammar(GrammarFile(), "empty.json", error)) << error;
    EXPECT_FALSE(window.controls().microphones()->isEnabled());
    std::vector<std::string> reported;
    window.listeningFailed = [&](const std::string& problem) { reported.push_back(problem); };
    window.controls().listenButton()->click();
    EXPECT_EQ(reported, std::vector<std::string>{"no microphone found"});
    EXPECT_FALSE(window.recognizer().isActive());
    EXPECT_TRUE(window.controls().listenButton()->isEnabled());
    EXPECT_FALSE(window.controls().stopButton()->isEnabled());
}

// --- The program's start, in the test's process -----------------------

namespace {

QApplication& application() { return *static_cast<QApplication*>(QCoreApplication::instance()); }

}  // namespace

TEST(DesktopStartup, AStartupErrorWaitsInADialogAndEndsWithItsStatus)
{
    DesktopOptions options;
    options.modelPath = "/nonexistent/model";
    QString shown;
    QTimer::singleShot(50, [&shown] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            shown = box->text();
            box->accept();
        }
    });
    EXPECT_EQ(runDesktop(application(), options), 3);
    EXPECT_EQ(shown, "no acoustic model folder at /nonexistent/model");
}

TEST(DesktopStartup, OpensTheWindowWithTheBundledGrammarAndRunsUntilQuit)
{
    KSR_REQUIRE_DATA(TestData::modelPath());
    DesktopOptions options;
    options.modelPath = TestData::modelPath();
    QString title;
    int grammars = -1;
    QTimer::singleShot(300, [&] {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* window = dynamic_cast<MainWindow*>(widget))
                if (window->isVisible()) {
                    title = window->windowTitle();
                    grammars = window->grammarTree().topLevelItemCount();
                }
        QCoreApplication::quit();
    });
    EXPECT_EQ(runDesktop(application(), options), 0);
    EXPECT_EQ(title, QString::fromUtf8("kalo-sr desktop \u2014 grammar.json"));
    EXPECT_EQ(grammars, 3);
}

TEST_F(DesktopWindow, TheShortQuietBoxSetsTheEarlyEndsShortQuiet)
{
    ControlPanel& controls = window->controls();
    EXPECT_EQ(controls.shortQuiet()->value(), KSR_VoskManager::DefaultFastCommandsShortQuiet);
    EXPECT_EQ(controls.shortQuiet()->text(), "short 120 ms");
    controls.fastCommands()->setValue(KSR_VoskManager::RecommendedFastCommandsQuiet);
    controls.shortQuiet()->setValue(150);
    EXPECT_EQ(sr().fastCommands(), KSR_VoskManager::RecommendedFastCommandsQuiet);
    EXPECT_EQ(sr().fastCommandsShortQuiet(), 150);
}

// --- Commands with arguments ------------------------------------------

namespace {

// The bundled grammar's rule of patterns, after the rules of "files" and "edit".
const KSR::RuleId ArgumentsRule = 14;

KSR::Argument argument(const std::string& name, KSR::SlotType type, long long number, const std::string& text)
{
    KSR::Argument value;
    value.name = name;
    value.type = type;
    value.number = number;
    value.text = text;
    return value;
}

}  // namespace

TEST_F(DesktopWindow, TheTreeShowsEachRulesPatterns)
{
    const QTreeWidgetItem* edit = tree().grammarItem(Edit);
    ASSERT_NE(edit, nullptr);
    ASSERT_EQ(edit->childCount(), 2);
    const QTreeWidgetItem* arguments = edit->child(1);
    EXPECT_EQ(arguments, tree().ruleItem(ArgumentsRule));
    EXPECT_EQ(arguments->text(GrammarTree::NameColumn), "arguments");
    EXPECT_EQ(arguments->text(GrammarTree::IdColumn), "14");
    EXPECT_EQ(arguments->checkState(GrammarTree::NameColumn), Qt::Checked);
    // Each pattern under its text, with its command id, as the module lists it.
    EXPECT_EQ(childTexts(arguments), (QStringList{"go to line <line:number 1..10000>", "volume <level:number 0..100>",
                                                  "turn <colour:list colours>", "select <count:number 1..20> words"}));
    QStringList names;
    for (const std::string& name : sr().getAvailableCommandNames(Edit))
        names << QString::fromStdString(name);
    for (int i = 0; i < arguments->childCount(); ++i) {
        const QTreeWidgetItem* pattern = arguments->child(i);
        EXPECT_EQ(pattern->text(GrammarTree::IdColumn), QString::number(i));
        EXPECT_TRUE(names.contains(pattern->text(GrammarTree::NameColumn)));
        // In italics, unlike a phrase.
        EXPECT_TRUE(pattern->font(GrammarTree::NameColumn).italic());
        EXPECT_FALSE(pattern->toolTip(GrammarTree::NameColumn).isEmpty());
    }
    EXPECT_FALSE(edit->child(0)->child(0)->font(GrammarTree::NameColumn).italic());
    // The list the patterns name came with the grammar file.
    EXPECT_EQ(sr().list("colours"), (KSR::SpokenList{{"red", "#ff0000"}, {"green", "#00ff00"}, {"blue", "#0000ff"},
                                                     {"dark red", "#8b0000"}}));
}

TEST_F(DesktopWindow, TheLogShowsACommandsArgumentValues)
{
    KSR::SRData line = result(Edit, ArgumentsRule, 0, "go to line forty two");
    line.arguments.push_back(argument("line", KSR::SlotType::Number, 42, "42"));
    emit sr().recognitionResult(line);
    EXPECT_EQ(window->eventLog().lineText(0),
              "command \"go to line forty two\"  [line=42]  grammar 103 edit, rule 14 arguments, command 0");

    KSR::SRData turn = result(Edit, ArgumentsRule, 2, "turn dark red");
    turn.arguments.push_back(argument("colour", KSR::SlotType::List, 0, "#8b0000"));
    turn.arguments.push_back(argument("code", KSR::SlotType::Digits, 0, "007"));
    emit sr().recognitionResult(turn);
    EXPECT_EQ(window->eventLog().lineText(0),
              "command \"turn dark red\"  [colour=\"#8b0000\", code=\"007\"]  grammar 103 edit, rule 14 arguments, "
              "command 2");
    EXPECT_TRUE(window->documentView().toPlainText().isEmpty()) << "a command writes nothing";
}

TEST_F(DesktopWindow, ALogLineShowsWholeInItsTooltip)
{
    KSR::SRData volume = result(Edit, ArgumentsRule, 1, "volume one hundred");
    volume.arguments.push_back(argument("level", KSR::SlotType::Number, 100, "100"));
    emit sr().recognitionResult(volume);
    const QTreeWidgetItem* line = window->eventLog().topLevelItem(0);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->toolTip(EventLog::DetailsColumn),
              "\"volume one hundred\"  [level=100]  grammar 103 edit, rule 14 arguments, command 1");
}
