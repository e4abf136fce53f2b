#ifndef KSR_TESTS_DESKTOP_WINDOW_FIXTURE_H
#define KSR_TESTS_DESKTOP_WINDOW_FIXTURE_H

// The desktop host's window in the test's own process, with the shared
// model and the grammar file ksr-demo and ksr-desktop ship with
// (tools/demo/grammar.json): grammars "files" (key "north", off) and "edit"
// (key "south", on), dictation keyed "activate smith" (off). The module's
// ids start afresh in each test's process: the activation keys' grammar is
// 100, dictation 101, files 102, edit 103; their rules 10, 11, 12 and 13.

#include <gtest/gtest.h>

#include <QApplication>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTest>
#include <QTreeWidget>

#include <memory>
#include <string>

#include "grammar_file.h"
#include "grammar_tree.h"
#include "main_window.h"
#include "model_lookup.h"
#include "test_data.h"

namespace DesktopIds {
const KSR::GrammarId Dictation = 101, Files = 102, Edit = 103;
const KSR::RuleId FormattingRule = 11, FilesRule = 12, EditRule = 13;
}  // namespace DesktopIds

class DesktopWindow : public testing::Test {
protected:
    void SetUp() override
    {
        KSR_REQUIRE_DATA(TestData::modelPath());
        std::string model;
        std::string error;
        ASSERT_TRUE(selectModel(TestData::modelPath(), model, error)) << error;
        K_SRInterface::registerKSRTypes();
        window.reset(new MainWindow);
        ASSERT_TRUE(window->recognizer().isInitialized()) << window->recognizer().acousticModelProblem();
        GrammarFile file;
        ASSERT_TRUE(readGrammarFile(bundledGrammarFile(), file, error)) << error;
        ASSERT_TRUE(window->loadGrammar(file, "grammar.json", error)) << error;
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    HostRecognizer& sr() { return window->recognizer(); }
    GrammarTree& tree() { return window->grammarTree(); }

    bool moduleHasOn(KSR::GrammarId id)
    {
        for (KSR::GrammarId active : sr().getActiveGrammars())
            if (active == id)
                return true;
        return false;
    }

    // Clicks the box of a grammar or rule the way a user does.
    void clickBox(QTreeWidgetItem* item)
    {
        ASSERT_NE(item, nullptr);
        tree().scrollToItem(item);
        QStyleOptionViewItem option;
        option.initFrom(tree().viewport());
        option.rect = tree().visualItemRect(item);
        option.rect.setRight(tree().columnViewportPosition(GrammarTree::NameColumn) +
                             tree().columnWidth(GrammarTree::NameColumn));
        option.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
        option.text = item->text(GrammarTree::NameColumn);
        const QRect indicator = tree().style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &tree());
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, Qt::NoModifier, indicator.center());
    }

    std::unique_ptr<MainWindow> window;
};

#endif
