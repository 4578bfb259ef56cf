// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Typesets the manual, written as HTML, into the PDF the application opens from its Help menu.
// Run at build time, without a screen: kalvora-make-manual <manual.html> <output.pdf>

#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QGuiApplication>
#include <QMarginsF>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QTextDocument>
#include <QUrl>

#include <cstdio>

namespace {

int fail(const QString &message) {
    std::fprintf(stderr, "kalvora-make-manual: %s\n", qPrintable(message));
    return 1;
}

} // namespace

int main(int argc, char **argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 3)
        return fail(QStringLiteral("usage: kalvora-make-manual <manual.html> <output.pdf>"));
    const QString sourcePath = arguments.at(1);
    const QString outputPath = arguments.at(2);

    QFile source(sourcePath);
    if (!source.open(QIODevice::ReadOnly | QIODevice::Text))
        return fail(QStringLiteral("cannot read %1: %2").arg(sourcePath, source.errorString()));
    const QString html = QString::fromUtf8(source.readAll());

    QPdfWriter writer(outputPath);
    writer.setTitle(QStringLiteral("Kalvora Help"));
    writer.setCreator(QStringLiteral("Kalvora"));
    writer.setResolution(300);
    // The document adds 2 cm of its own on every side; with these the text sits 2.5 cm in and
    // the page numbers stay clear of the lower edge.
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(5, 5, 5, 8), QPageLayout::Millimeter));

    QTextDocument document;
    QFont body(QStringLiteral("Lucida Grande"));
    body.setStyleHint(QFont::SansSerif);
    body.setPointSizeF(10.0);
    document.setDefaultFont(body);
    // Relative paths in the manual (pictures) are read next to it.
    document.setMetaInformation(
        QTextDocument::DocumentUrl,
        QUrl::fromLocalFile(QFileInfo(sourcePath).absolutePath() + QLatin1Char('/')).toString());
    document.setHtml(html);
    if (document.isEmpty())
        return fail(QStringLiteral("%1 has no text").arg(sourcePath));
    document.print(&writer);

    if (!QFileInfo(outputPath).isFile() || QFileInfo(outputPath).size() == 0)
        return fail(QStringLiteral("cannot write %1").arg(outputPath));
    return 0;
}
