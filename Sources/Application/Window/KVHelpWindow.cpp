// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVHelpWindow.h"

#include <QProcess>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

const QString kKVManualPage = QStringLiteral("qrc:/Manual/Kalvora.html");
const QString kKVMimeQueryTool = QStringLiteral("xdg-mime");
constexpr int kKVMimeQueryTimeLimit = 3000;

} // namespace

KVHelpWindow::KVHelpWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_browser(new QTextBrowser(this)) {
    setWindowTitle(tr("Kalvora Help"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_browser);
    // Links out of the manual (mail, web site) go to the desktop's programs.
    m_browser->setOpenExternalLinks(true);
    m_browser->setSource(QUrl(kKVManualPage));
    resize(720, 800);
}

QString KVHelpWindow::pdfViewer() {
    QProcess query;
    query.start(kKVMimeQueryTool, {QStringLiteral("query"), QStringLiteral("default"),
                                   QStringLiteral("application/pdf")});
    if (!query.waitForFinished(kKVMimeQueryTimeLimit)) {
        query.kill();
        query.waitForFinished();
        return {};
    }
    if (query.exitStatus() != QProcess::NormalExit || query.exitCode() != 0)
        return {};
    return QString::fromUtf8(query.readAllStandardOutput()).trimmed();
}
