#ifndef KSR_DESKTOP_GRAMMAR_TREE_H
#define KSR_DESKTOP_GRAMMAR_TREE_H

#include <QTreeWidget>

#include <map>

#include "grammar_file.h"
#include "ksr_types.h"

class KSR_VoskManager;

// The grammars, their rules and commands as the module holds them (a
// command with arguments as its pattern, in italics), with activation keys,
// ids and a box per grammar and rule that shows whether it is on. Ticking a box switches the grammar (setActivated) or the rule
// (setRuleActivated) in the module; the module's grammar signal (a spoken
// key, or the host's own switch) ticks it back. The module switches a
// grammar's rules with it, so the rules of a grammar that is off show off.
class GrammarTree : public QTreeWidget {
public:
    enum Column { NameColumn, KeyColumn, IdColumn };

    GrammarTree(KSR_VoskManager& manager, QWidget* parent = nullptr);

    // Builds the tree from the module's grammars that `names` lists (the
    // ones a grammar file registered), command grammars first.
    void load(const GrammarNames& names);
    // The module switched a grammar: its box follows. Unknown ids (the
    // module's own activation-key grammar) are ignored.
    void grammarSwitched(KSR::GrammarId id, bool on);

    QTreeWidgetItem* grammarItem(KSR::GrammarId id) const;
    QTreeWidgetItem* ruleItem(KSR::RuleId id) const;

private:
    void addGrammar(const GrammarNames& names, KSR::GrammarId id);
    void boxChanged(QTreeWidgetItem* item, int column);
    bool grammarOn(KSR::GrammarId id) const;
    // Shows the grammar on or off, its rules as the module holds them, and
    // its commands greyed when they cannot be heard.
    void showState(KSR::GrammarId id, bool on);

    KSR_VoskManager& m_manager;
    std::map<KSR::GrammarId, QTreeWidgetItem*> m_grammars;
    std::map<KSR::RuleId, QTreeWidgetItem*> m_rules;
};

#endif
