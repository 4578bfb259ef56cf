// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAddFilesAlertPanel.h"

#include <QApplication>
#include <QClipboard>
#include <QItemSelectionModel>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <gtest/gtest.h>

const QList<QVariantMap> kRecords = {
    {{"name", "clip.mov"}, {"path", "/shoot/clip.mov"}, {"error", "Unsupported file format."}},
    {{"name", "scan.tif"}, {"path", "/s/scan.tif"}, {"error", "No EXIF date and camera found."}}};

static void clickOK(QWidget *panel) {
    panel->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
}

TEST(KVAddFilesAlertPanel, FoldingKeepsTheTopEdgeAndRestoresTheOpeningFrame) {
    std::unique_ptr<KVAddFilesAlertPanel> made = KVAddFilesAlertPanel::alertPanel();
    QPointer<KVAddFilesAlertPanel> panel = made.get();
    panel->setDetailsInfoFromArray(kRecords);
    KVAddFilesAlertPanel::show(std::move(made));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    const QRect opening = panel->geometry();
    auto *disclosure = panel->findChild<QToolButton *>(QStringLiteral("disclosureButton"));
    ASSERT_NE(disclosure, nullptr);
    QTest::mouseClick(disclosure, Qt::LeftButton);
    const QRect remembered = panel->viewFrame();
    ASSERT_GT(remembered.height(), 0);
    EXPECT_TRUE(panel->isFilesViewUnfolded());
    EXPECT_EQ(panel->geometry(), opening.adjusted(0, 0, 0, remembered.height()));
    EXPECT_EQ(panel->filesView()->geometry(), remembered);
    QTest::mouseClick(disclosure, Qt::LeftButton);
    EXPECT_FALSE(panel->isFilesViewUnfolded());
    EXPECT_EQ(panel->geometry(), opening);

    // Shown without modality, OK ends the panel and it goes away.
    clickOK(panel);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(panel.isNull());
}

TEST(KVAddFilesAlertPanel, RowsShowNamePathAndReasonAndRunModalAnswersOne) {
    std::unique_ptr<KVAddFilesAlertPanel> panel = KVAddFilesAlertPanel::alertPanel();
    QVariantList entries(kRecords.begin(), kRecords.end());
    entries << QVariantMap{{"path", "/shoot/no name.nef"}} << QUrl::fromLocalFile("/shoot/url.jpg")
            << 42 << QVariant() << QUrl::fromEncoded("file:///shoot/Notiz_%E4.txt");
    panel->setDetailsInfoFromArray(entries);
    const QStandardItemModel &rows = panel->tableArray();
    ASSERT_EQ(rows.rowCount(), 5);
    const auto text = [&](int row, int column) { return rows.item(row, column)->text(); };
    EXPECT_EQ(QStringList({text(0, 0), text(0, 1), text(0, 2), text(1, 2), text(2, 0), text(3, 0),
                           text(3, 1)}),
              QStringList({"clip.mov", "/shoot/clip.mov", "Unsupported file format.",
                           "No EXIF date and camera found.", "no name.nef", "url.jpg",
                           "/shoot/url.jpg"}));
    // A Latin-1 name is shown as its bytes read: with a replacement character.
    EXPECT_EQ(rows.item(4, 0)->text(), QStringLiteral("Notiz_\uFFFD.txt"));
    EXPECT_EQ(rows.item(4, 1)->text(), QStringLiteral("/shoot/Notiz_\uFFFD.txt"));

    bool wasModal = false;
    QTimer::singleShot(0, [&] {
        wasModal = QApplication::activeModalWidget() == panel.get();
        clickOK(panel.get());
    });
    EXPECT_EQ(panel->runModal(), 1);
    EXPECT_TRUE(wasModal);
    EXPECT_FALSE(panel->isVisible());
}

TEST(KVAddFilesAlertPanel, SheetEndsOnceWithOneAndGoesAway) {
    QWidget window;
    window.show();
    std::unique_ptr<KVAddFilesAlertPanel> made = KVAddFilesAlertPanel::alertPanel();
    QPointer<KVAddFilesAlertPanel> sheet = made.get();
    QList<int> codes;
    KVAddFilesAlertPanel::beginSheetModalForWindow(std::move(made), &window,
                                                   [&](int code) { codes << code; });
    ASSERT_TRUE(sheet && sheet->isVisible());
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    sheet->performOK();
    sheet->performOK();
    EXPECT_EQ(codes, QList<int>{1});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(sheet.isNull());
}

TEST(KVAddFilesAlertPanel, CopyGivesTheChosenRowsOrAllAsTabbedLinesAndLongPathsKeepBothEnds) {
    std::unique_ptr<KVAddFilesAlertPanel> made = KVAddFilesAlertPanel::alertPanel();
    QPointer<KVAddFilesAlertPanel> panel = made.get();
    const QString deep = "/media/photographer/CARD-2025/DCIM/100OX005/wedding-ceremony/"
                         "first-dance/IMG_00971.jpg";
    QList<QVariantMap> records = kRecords;
    records << QVariantMap{
        {"name", "IMG_00971.jpg"}, {"path", deep}, {"error", "Unsupported file format."}};
    panel->setDetailsInfoFromArray(records);
    KVAddFilesAlertPanel::show(std::move(made));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    QTest::mouseClick(panel->findChild<QToolButton *>(QStringLiteral("disclosureButton")),
                      Qt::LeftButton);
    QTableView *table = panel->tableView();
    table->selectionModel()->clearSelection();
    QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              "clip.mov\t/shoot/clip.mov\tUnsupported file format.\n"
              "scan.tif\t/s/scan.tif\tNo EXIF date and camera found.\n"
              "IMG_00971.jpg\t" +
                  deep + "\tUnsupported file format.\n");
    table->selectRow(1);
    QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              "scan.tif\t/s/scan.tif\tNo EXIF date and camera found.\n");

    // A path too long for its column loses its middle, never its folder or its name, and the
    // whole of it is the tool tip.
    EXPECT_EQ(table->textElideMode(), Qt::ElideMiddle);
    const QModelIndex cell = panel->tableArray().index(2, 1);
    EXPECT_EQ(cell.data(Qt::ToolTipRole).toString(), deep);
    EXPECT_GE(table->columnWidth(1), 300) << "the path column is too narrow to show a folder";
    panel->performOK();
}
