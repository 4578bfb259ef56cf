#include "KVAddFilesAlertPanel.h"

#include "KVFileReportContent.h"

#include <QApplication>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

QList<QVariantMap> notAddedRecords() {
    return {
        {{"name", "clip.mov"}, {"path", "/shoot/clip.mov"}, {"error", "Unsupported file format."}},
        {{"name", "scan.tif"},
         {"path", "/shoot/scan.tif"},
         {"error", "No EXIF date and camera found."}},
    };
}

bool anyPanelVisible() {
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (qobject_cast<KVAddFilesAlertPanel *>(widget) && widget->isVisible())
            return true;
    return false;
}

void processDeferredDeletes() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST(KVAddFilesAlertPanel, FoldingKeepsTheTopEdgeAndRestoresTheOpeningFrame) {
    std::unique_ptr<KVAddFilesAlertPanel> made = KVAddFilesAlertPanel::alertPanel();
    QPointer<KVAddFilesAlertPanel> panel = made.get();
    panel->setDetailsInfoFromArray(notAddedRecords());
    KVAddFilesAlertPanel::show(std::move(made));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel));
    EXPECT_FALSE(panel->isFilesViewUnfolded());
    const QRect opening = panel->geometry();

    auto *disclosure = panel->findChild<QToolButton *>(QStringLiteral("disclosureButton"));
    ASSERT_NE(disclosure, nullptr);
    QTest::mouseClick(disclosure, Qt::LeftButton);
    const QRect remembered = panel->viewFrame();
    ASSERT_GT(remembered.height(), 0);
    EXPECT_TRUE(panel->isFilesViewUnfolded());
    EXPECT_EQ(panel->geometry().top(), opening.top());
    EXPECT_EQ(panel->geometry().height(), opening.height() + remembered.height());
    EXPECT_EQ(panel->filesView()->geometry(), remembered);

    QTest::mouseClick(disclosure, Qt::LeftButton);
    EXPECT_FALSE(panel->isFilesViewUnfolded());
    EXPECT_EQ(panel->geometry(), opening);

    // Shown without modality, OK ends the panel and it goes away.
    panel->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
    processDeferredDeletes();
    EXPECT_TRUE(panel.isNull());
}

TEST(KVAddFilesAlertPanel, RowsShowNamePathAndReason) {
    std::unique_ptr<KVAddFilesAlertPanel> panel = KVAddFilesAlertPanel::alertPanel();
    QVariantList entries;
    for (const QVariantMap &record : notAddedRecords())
        entries << record;
    entries << QVariantMap{{"path", "/shoot/no name.nef"}} << QUrl::fromLocalFile("/shoot/url.jpg")
            << 42 << QVariant();
    panel->setDetailsInfoFromArray(entries);

    const QStandardItemModel &rows = panel->tableArray();
    ASSERT_EQ(rows.rowCount(), 4);
    const auto text = [&](int row, int column) { return rows.item(row, column)->text(); };
    EXPECT_EQ(text(0, 0), "clip.mov");
    EXPECT_EQ(text(0, 1), "/shoot/clip.mov");
    EXPECT_EQ(text(0, 2), "Unsupported file format.");
    EXPECT_EQ(text(1, 2), "No EXIF date and camera found.");
    EXPECT_EQ(text(2, 0), "no name.nef");
    EXPECT_EQ(text(3, 0), "url.jpg");
    EXPECT_EQ(text(3, 1), "/shoot/url.jpg");
    EXPECT_EQ(panel->tableView()->model(), &rows);
}

TEST(KVAddFilesAlertPanel, NotChangedReportFailsAndShowsNothing) {
    std::unique_ptr<KVAddFilesAlertPanel> panel = KVAddFilesAlertPanel::alertPanel();
    panel->setDialogType(KVAddFilesAlertPanel::NotChangedFiles);
    EXPECT_THROW(panel->setDetailsInfoFromArray(QVariantList{QUrl::fromLocalFile("/a.jpg")}),
                 KVProgrammingError);
    EXPECT_EQ(panel->titleText(), "Cannot change date");
    // Whatever is tried next fails the same way and never gets on screen.
    EXPECT_THROW(panel->runModal(), KVProgrammingError);
    EXPECT_THROW(KVAddFilesAlertPanel::show(std::move(panel)), KVProgrammingError);
    EXPECT_FALSE(anyPanelVisible());
}

TEST(KVAddFilesAlertPanel, RunModalReturnsOneAfterOK) {
    std::unique_ptr<KVAddFilesAlertPanel> panel = KVAddFilesAlertPanel::alertPanel();
    panel->setDetailsInfoFromArray(notAddedRecords());
    bool wasModal = false;
    QTimer::singleShot(0, [&] {
        wasModal = QApplication::activeModalWidget() == panel.get();
        panel->findChild<QPushButton *>(QStringLiteral("okButton"))->click();
    });
    EXPECT_EQ(panel->runModal(), 1);
    EXPECT_TRUE(wasModal);
    EXPECT_FALSE(panel->isVisible());
}

TEST(KVAddFilesAlertPanel, SheetEndsOnceWithOneAndGoesAway) {
    QWidget window;
    window.resize(400, 300);
    window.show();
    std::unique_ptr<KVAddFilesAlertPanel> made = KVAddFilesAlertPanel::alertPanel();
    QPointer<KVAddFilesAlertPanel> sheet = made.get();
    QList<int> codes;
    KVAddFilesAlertPanel::beginSheetModalForWindow(std::move(made), &window,
                                                   [&](int code) { codes << code; });
    ASSERT_FALSE(sheet.isNull());
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    sheet->performOK();
    sheet->performOK();
    EXPECT_EQ(codes, QList<int>{1});
    processDeferredDeletes();
    EXPECT_TRUE(sheet.isNull());
}

} // namespace
