#include "error_report.h"

#include <QMessageBox>
#include <QString>

#include <cstdio>

void ErrorReport::print(const std::string& message) const
{
    std::fprintf(stderr, "ksr-desktop: %s\n", message.c_str());
    std::fflush(stderr);
}

int ErrorReport::fail(int exitCode, const std::string& message, QWidget* parent) const
{
    print(message);
    if (m_dialogs)
        QMessageBox::critical(parent, dialogTitle(), QString::fromStdString(message));
    return exitCode;
}

void ErrorReport::tell(const std::string& message, QWidget* parent) const
{
    print(message);
    if (!m_dialogs)
        return;
    auto* box = new QMessageBox(QMessageBox::Critical, dialogTitle(), QString::fromStdString(message),
                                QMessageBox::Ok, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
