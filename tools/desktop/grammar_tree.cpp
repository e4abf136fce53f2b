#include "grammar_tree.h"

#include <QHeaderView>
#include <QSignalBlocker>

#include <algorithm>

#include "ksr_vosk_manager.h"

namespace {

enum Role { KindRole = Qt::UserRole, IdRole };
enum Kind { GrammarKind, RuleKind, CommandKind };

QTreeWidgetItem* makeItem(const QString& name, const QString& key, qulonglong id, Kind kind)
{
    auto* item = new QTreeWidgetItem({name, key, QString::number(id)});
    item->setData(GrammarTree::NameColumn, KindRole, kind);
    item->setData(GrammarTree::NameColumn, IdRole, id);
    item->setTextAlignment(GrammarTree::IdColumn, Qt::AlignRight | Qt::AlignVCenter);
    if (kind != CommandKind)
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    return item;
}

// A phrase, or a pattern (its text is its name) set in italics, so that a
// command said with values stands apart from the phrases beside it.
QTreeWidgetItem* commandItem(const KSR_VoskGrammar::CommandInfo& command)
{
    QTreeWidgetItem* item = makeItem(QString::fromStdString(command.phrase), QString(),
                                     static_cast<qulonglong>(command.commandId), CommandKind);
    if (command.pattern) {
        QFont italic = item->font(GrammarTree::NameColumn);
        italic.setItalic(true);
        item->setFont(GrammarTree::NameColumn, italic);
        item->setToolTip(GrammarTree::NameColumn, "A command with arguments: what is said in each <slot> "
                                                  "comes with the command as its value");
    }
    return item;
}

Qt::CheckState box(bool on) { return on ? Qt::Checked : Qt::Unchecked; }

}  // namespace

GrammarTree::GrammarTree(KSR_VoskManager& manager, QWidget* parent) : QTreeWidget(parent), m_manager(manager)
{
    setColumnCount(3);
    setHeaderLabels({"Grammar / rule / command", "Key", "Id"});
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header()->setSectionResizeMode(KeyColumn, QHeaderView::ResizeToContents);
    header()->setSectionResizeMode(IdColumn, QHeaderView::ResizeToContents);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    connect(this, &QTreeWidget::itemChanged, this, &GrammarTree::boxChanged);
}

void GrammarTree::load(const GrammarNames& names)
{
    const QSignalBlocker quiet(this);
    clear();
    m_grammars.clear();
    m_rules.clear();
    for (const auto& entry : names.grammars)
        if (entry.first != names.dictationGrammar)
            addGrammar(names, entry.first);
    if (names.grammars.count(names.dictationGrammar))
        addGrammar(names, names.dictationGrammar);
    for (const auto& entry : m_grammars) {
        showState(entry.first, grammarOn(entry.first));
        // Command grammars open, the dictation grammar's 20-odd formatting phrases folded.
        entry.second->setExpanded(entry.first != names.dictationGrammar);
    }
}

void GrammarTree::addGrammar(const GrammarNames& names, KSR::GrammarId id)
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = m_manager.getGrammar(id);
    if (!grammar)
        return;
    QTreeWidgetItem* grammarItem = makeItem(QString::fromStdString(names.grammars.at(id)),
                                            QString::fromStdString(grammar->activationKey()), id, GrammarKind);
    QFont bold = grammarItem->font(NameColumn);
    bold.setBold(true);
    grammarItem->setFont(NameColumn, bold);
    // Spoken keys stand out: saying one switches the grammars.
    QFont italic = grammarItem->font(KeyColumn);
    italic.setItalic(true);
    grammarItem->setFont(KeyColumn, italic);
    grammarItem->setForeground(KeyColumn, QColor(0x8e, 0x44, 0xad));
    addTopLevelItem(grammarItem);
    m_grammars[id] = grammarItem;

    std::vector<std::shared_ptr<KSR_VoskGrammar::CommandInfo>> commands;
    grammar->collectCommandsOfAllRules(commands);
    // In the order they were added, as a grammar file lists them.
    std::stable_sort(commands.begin(), commands.end(),
                     [](const auto& a, const auto& b) { return a->commandId < b->commandId; });
    for (unsigned long wideRuleId : grammar->getRuleIds()) {
        const auto ruleId = static_cast<KSR::RuleId>(wideRuleId);
        const auto named = names.rules.find(ruleId);
        const QString ruleName = named != names.rules.end() ? QString::fromStdString(named->second)
                                                            : QString("rule %1").arg(ruleId);
        QTreeWidgetItem* ruleItem = makeItem(ruleName, QString(), ruleId, RuleKind);
        grammarItem->addChild(ruleItem);
        m_rules[ruleId] = ruleItem;
        for (const auto& command : commands)
            if (command->ruleId == ruleId && command->available)
                ruleItem->addChild(commandItem(*command));
        ruleItem->setExpanded(true);
    }
}

QTreeWidgetItem* GrammarTree::grammarItem(KSR::GrammarId id) const
{
    const auto found = m_grammars.find(id);
    return found == m_grammars.end() ? nullptr : found->second;
}

QTreeWidgetItem* GrammarTree::ruleItem(KSR::RuleId id) const
{
    const auto found = m_rules.find(id);
    return found == m_rules.end() ? nullptr : found->second;
}

void GrammarTree::grammarSwitched(KSR::GrammarId id, bool on)
{
    // The signal may arrive after later switches (it is queued): the box
    // shows what it says, and the rules what the module holds now.
    showState(id, on);
}

void GrammarTree::boxChanged(QTreeWidgetItem* item, int column)
{
    if (column != NameColumn)
        return;
    const bool on = item->checkState(NameColumn) == Qt::Checked;
    const qulonglong id = item->data(NameColumn, IdRole).toULongLong();
    switch (item->data(NameColumn, KindRole).toInt()) {
    case GrammarKind:
        m_manager.setActivated(id, on);
        showState(id, grammarOn(id));
        break;
    case RuleKind:
        m_manager.setRuleActivated(static_cast<KSR::RuleId>(id), on);
        showState(item->parent()->data(NameColumn, IdRole).toULongLong(),
                  item->parent()->checkState(NameColumn) == Qt::Checked);
        break;
    default:
        break;
    }
}

bool GrammarTree::grammarOn(KSR::GrammarId id) const
{
    const std::shared_ptr<KSR_VoskGrammar> grammar = m_manager.getGrammar(id);
    return grammar && grammar->isActive();
}

void GrammarTree::showState(KSR::GrammarId id, bool on)
{
    QTreeWidgetItem* item = grammarItem(id);
    if (!item)
        return;
    const QSignalBlocker quiet(this);
    item->setCheckState(NameColumn, box(on));
    // Switching a grammar switches all its rules in the module.
    const QBrush heard = palette().brush(QPalette::Text);
    const QBrush unheard = palette().brush(QPalette::Disabled, QPalette::Text);
    for (int r = 0; r < item->childCount(); ++r) {
        QTreeWidgetItem* rule = item->child(r);
        const bool ruleOn = m_manager.isRuleActivated(static_cast<KSR::RuleId>(rule->data(NameColumn, IdRole).toULongLong()));
        rule->setCheckState(NameColumn, box(ruleOn));
        for (int c = 0; c < rule->childCount(); ++c)
            for (int column = 0; column < columnCount(); ++column)
                rule->child(c)->setForeground(column, on && ruleOn ? heard : unheard);
    }
}
