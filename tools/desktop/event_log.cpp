#include "event_log.h"

#include <QHeaderView>
#include <QTime>

#include <cstring>

namespace {

// One colour per kind of event, so that commands and dictated text stand out.
QColor eventColour(const char* event)
{
    if (!std::strcmp(event, "command"))
        return QColor(0x1f, 0x5f, 0xbf);
    if (!std::strcmp(event, "text") || !std::strcmp(event, "format"))
        return QColor(0x1e, 0x84, 0x49);
    if (!std::strcmp(event, "failed") || !std::strcmp(event, "error"))
        return QColor(0xc0, 0x39, 0x2b);
    if (!std::strcmp(event, "grammar") || !std::strcmp(event, "mode"))
        return QColor(0x8e, 0x44, 0xad);
    if (!std::strcmp(event, "hypothesis"))
        return QColor(0x80, 0x80, 0x80);
    return QColor(0xb3, 0x6b, 0x00);
}

}  // namespace

EventLog::EventLog(QWidget* parent) : QTreeWidget(parent)
{
    setColumnCount(3);
    setHeaderLabels({"Time", "Event", "Details"});
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    header()->setStretchLastSection(true);
    header()->setSectionResizeMode(TimeColumn, QHeaderView::ResizeToContents);
    header()->setSectionResizeMode(EventColumn, QHeaderView::ResizeToContents);
}

void EventLog::add(const char* event, const std::string& details)
{
    auto* item = new QTreeWidgetItem({QTime::currentTime().toString("HH:mm:ss.zzz"), QString::fromLatin1(event),
                                      QString::fromStdString(details)});
    // A line cut short by the column shows whole when pointed at.
    item->setToolTip(DetailsColumn, item->text(DetailsColumn));
    item->setForeground(EventColumn, eventColour(event));
    QFont bold = item->font(EventColumn);
    bold.setBold(true);
    item->setFont(EventColumn, bold);
    insertTopLevelItem(0, item);
    while (topLevelItemCount() > MaximumLines)
        delete takeTopLevelItem(topLevelItemCount() - 1);
}

QString EventLog::lineText(int row) const
{
    const QTreeWidgetItem* item = topLevelItem(row);
    if (!item)
        return QString();
    const QString details = item->text(DetailsColumn);
    return details.isEmpty() ? item->text(EventColumn) : item->text(EventColumn) + " " + details;
}
