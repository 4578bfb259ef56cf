// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAddFilesAlertPanel.h"
#include "KVButtonCell.h"
#include "KVCameraViewDocumentView.h"
#include "KVDisplayImageFileDrawer.h"
#include "KVDisplayView.h"
#include "KVCameraBrowser.h"
#include "KVFileName.h"
#include "KVHelpWindow.h"
#include "KVLockView.h"
#include "KVOperation.h"
#include "KVRoundButtonCell.h"
#include "KVSingleInstance.h"
#include "KVStartView.h"
#include "KVTableCellView.h"
#include "KVTestSupport.h"
#include "KVTranslations.h"
#include "KVWindow.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QStackedWidget>
#include <QTest>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QTimer>
#include <QTranslator>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

namespace {

// Holds the model queue busy until released, so a test can look at the window while the
// program is "adding photos".
class KVGateOperation : public KVOperation {
public:
    void main() override { m_released.get_future().wait(); }
    void release() { m_released.set_value(); }

private:
    std::promise<void> m_released;
};

class KVWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        window = std::make_unique<KVWindow>();
        window->launch(QStringLiteral(KALVORA_BUNDLE_DIR));
        window->show();
    }

    void TearDown() override {
        window->appDelegate().cameraSets().queue().waitUntilAllOperationsAreFinished();
        window.reset();
    }

    bool visible(QWidget *widget) const { return widget->isVisibleTo(window.get()); }

    void open(const QStringList &paths) {
        window->openFiles(paths);
        ASSERT_TRUE(KVTest::waitFor([&] {
            QCoreApplication::processEvents();
            return !window->appDelegate().isProcessingPathes() &&
                   window->appDelegate().numberOfCamerasInBrowser() > 0;
        }));
        QCoreApplication::processEvents();
    }

    // Three cameras, every file readable, so no report sheet waits for an answer.
    static QStringList threeCameras() {
        QStringList paths;
        for (const char *name : {"Canon_40D.jpg", "Nikon_D70.jpg", "Pentax_K10D.jpg"})
            paths << KVTest::samplePath(QStringLiteral("cameras/") + QLatin1String(name));
        return paths;
    }

    std::unique_ptr<KVWindow> window;
};

TEST_F(KVWindowTest, OpeningPhotosShowsTheCamerasAndRemovingThemShowsTheDropAreaAgain) {
    EXPECT_TRUE(visible(window->startView()));
    EXPECT_FALSE(window->removeFilesAction()->isEnabled());
    EXPECT_FALSE(window->syncButton()->isEnabled());
    EXPECT_FALSE(window->manualButton()->isEnabled());

    open(threeCameras());
    const int cameras = window->appDelegate().numberOfCamerasInBrowser();
    EXPECT_EQ(cameras, 3);
    EXPECT_EQ(window->cameraBrowser()->numberOfRows(), cameras);
    EXPECT_TRUE(visible(window->cameraBrowser()));
    EXPECT_FALSE(visible(window->startView()));
    EXPECT_FALSE(visible(window->lockView()));
    EXPECT_TRUE(window->removeFilesAction()->isEnabled());
    EXPECT_TRUE(window->manualButton()->isEnabled());
    // Nothing is marked yet, so there is nothing to sync.
    EXPECT_FALSE(window->syncButton()->isEnabled());
    EXPECT_EQ(window->syncButton()->text(), QStringLiteral("Sync Time"));

    // The import is over: the window may close again.
    QCloseEvent close;
    QApplication::sendEvent(window.get(), &close);
    EXPECT_TRUE(close.isAccepted());

    window->removeFilesAction()->trigger();
    QCoreApplication::processEvents();
    EXPECT_EQ(window->cameraBrowser()->numberOfRows(), 0);
    EXPECT_TRUE(visible(window->startView()));
    EXPECT_FALSE(window->removeFilesAction()->isEnabled());
}

TEST_F(KVWindowTest, ADoubleClickedPhotoIsShownOnTheDisplayAndAMatchOnAnotherCameraAllowsSync) {
    open(threeCameras());
    window->resize(1000, 640);
    QCoreApplication::processEvents();
    // Clicks land where each camera's one photo is drawn, as a person's would.
    auto clickPhoto = [&](int row, bool twice) {
        KVTableCellView *cell = window->cameraBrowser()->viewAtRow(row, true);
        ASSERT_NE(cell, nullptr);
        KVCameraViewDocumentView *timeline = cell->documentView();
        ASSERT_EQ(timeline->imageCount(), 1);
        const QPointF middle = timeline->imageFrame(0).center();
        const QPoint at = timeline->widgetPointFromDocument(middle).toPoint();
        if (twice)
            QTest::mouseDClick(timeline, Qt::LeftButton, Qt::NoModifier, at);
        else
            QTest::mouseClick(timeline, Qt::LeftButton, Qt::NoModifier, at);
        QCoreApplication::processEvents();
    };
    const KVImageFileRef canon =
        window->appDelegate().cameraSets().imagesForCameraWithIndex(0).front();
    clickPhoto(0, true);
    ASSERT_EQ(canon->imageState(), KVImageStateEtalon);
    EXPECT_EQ(window->appDelegate().etalon(), canon);
    EXPECT_EQ(window->displayView()->drawer(), window->displayView()->imageFileDrawer());
    EXPECT_EQ(window->displayView()->imageFileDrawer()->imageFile(), canon);
    EXPECT_FALSE(window->syncButton()->isEnabled());

    clickPhoto(1, false);
    EXPECT_EQ(window->appDelegate().cameraSets().imagesForCameraWithIndex(1).front()->imageState(),
              KVImageStateSelected);
    EXPECT_TRUE(KVTest::waitFor([&] {
        QCoreApplication::processEvents();
        return window->syncButton()->isEnabled();
    }));
    const QString screenshots = qEnvironmentVariable("KALVORA_SCREENSHOT_DIR");
    if (!screenshots.isEmpty()) {
        EXPECT_TRUE(
            window->grab().save(screenshots + QStringLiteral("/kalvora-three-cameras.png")));
    }
}

TEST_F(KVWindowTest, WhileBusyTheWindowIsLockedAndRefusesToCloseOrQuit) {
    auto gate = std::make_shared<KVGateOperation>();
    window->appDelegate().cameraSets().queue().addOperation(gate);
    QCoreApplication::processEvents();
    ASSERT_TRUE(window->appDelegate().isProcessingPathes());
    // Undo stays off while the model is busy, even with a step to undo.
    window->appDelegate().undoManager().registerUndo([] {});
    window->validateMenuItems();
    EXPECT_FALSE(window->undoAction()->isEnabled());
    EXPECT_FALSE(window->addFilesAction()->isEnabled());
    EXPECT_FALSE(window->addFolderAction()->isEnabled());

    QCloseEvent close;
    QApplication::sendEvent(window.get(), &close);
    EXPECT_FALSE(close.isAccepted());
    // Quit stays on, so that Ctrl+Q reaches the delegate, which answers with the reason.
    EXPECT_TRUE(window->quitAction()->isEnabled());

    gate->release();
    window->appDelegate().cameraSets().queue().waitUntilAllOperationsAreFinished();
    QCoreApplication::processEvents();
    window->validateMenuItems();
    EXPECT_TRUE(window->undoAction()->isEnabled());
    EXPECT_TRUE(window->addFilesAction()->isEnabled());
}

TEST_F(KVWindowTest, TheLockViewCoversTheCameraListAndTakesItsClicks) {
    open(threeCameras());
    window->addLockView();
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->lockView()->isVisible());
    const QPoint middle = window->cameraBrowser()->rect().center();
    const QPoint inWindow = window->cameraBrowser()->mapTo(window.get(), middle);
    EXPECT_EQ(window->childAt(inWindow), window->lockView());
    window->removeLockView();
    EXPECT_FALSE(window->lockView()->isVisible());
}

TEST_F(KVWindowTest, VerboseLoggingItemFlipsTheDefaultAndShowsItsCheckMark) {
    const bool before = window->verboseLoggingAction()->isChecked();
    window->verboseLoggingAction()->trigger();
    EXPECT_NE(window->verboseLoggingAction()->isChecked(), before);
    window->verboseLoggingAction()->trigger();
    EXPECT_EQ(window->verboseLoggingAction()->isChecked(), before);
    EXPECT_EQ(window->fullScreenAction()->text(), QStringLiteral("Enter Full Screen"));
}

TEST_F(KVWindowTest, AnAlertAnswersWithTheIndexOfTheButtonChosen) {
    for (int wanted : {0, 1}) {
        QTimer::singleShot(50, [wanted] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            // The headline stays whole in the box; the advice is set beneath it.
            EXPECT_EQ(box->text(), QStringLiteral("Cannot open file or files"));
            // A name that is not UTF-8 is shown with a replacement character.
            EXPECT_EQ(box->informativeText(),
                      QStringLiteral("Put the card back: /media/Hochzeit_\uFFFD.jpg"));
            // The headline is bold above the plain advice.
            int headlines = 0;
            for (QLabel *label : box->findChildren<QLabel *>()) {
                if (label->text() == box->text()) {
                    headlines += label->font().bold() ? 1 : 100;
                } else if (label->text() == box->informativeText()) {
                    EXPECT_FALSE(label->font().bold());
                }
            }
            EXPECT_EQ(headlines, 1);
            for (QAbstractButton *button : box->buttons())
                if (button->text() ==
                    (wanted == 0 ? QStringLiteral("Try Again") : QStringLiteral("Cancel")))
                    button->click();
        });
        EXPECT_EQ(window->runAlert(QStringLiteral("Cannot open file or files"),
                                   QStringLiteral("Put the card back: ") +
                                       KVFileName::decode("/media/Hochzeit_\xe4.jpg"),
                                   {QStringLiteral("Try Again"), QStringLiteral("Cancel")}),
                  wanted);
    }
}

TEST_F(KVWindowTest, RefusedFilesAreReportedInASheetOverTheWindow) {
    QStringList paths = threeCameras();
    paths << KVTest::samplePath("cameras/PaintTool_sample.jpg");
    window->openFiles(paths);
    KVAddFilesAlertPanel *sheet = nullptr;
    ASSERT_TRUE(KVTest::waitFor([&] {
        QCoreApplication::processEvents();
        sheet = window->findChild<KVAddFilesAlertPanel *>();
        return sheet && sheet->isVisible();
    }));
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    EXPECT_TRUE(sheet->isWindow());
    EXPECT_EQ(sheet->windowTitle(), sheet->titleText());
    EXPECT_EQ(sheet->tableArray().rowCount(), 1);
    // Over the window, not somewhere on the screen.
    EXPECT_TRUE(window->geometry().contains(sheet->geometry().center()));
    sheet->performOK();
}

TEST_F(KVWindowTest, AddFilesOffersPhotosOfEveryTypeInAnyCaseAndAllFiles) {
    const QStringList filters = KVWindow::addFilesNameFilters();
    ASSERT_EQ(filters.size(), 2);
    EXPECT_EQ(filters[1], "All files (*)");
    // "Photos (*.a *.b …)", as the dialog reads a filter.
    const qsizetype open = filters[0].indexOf('('), close = filters[0].lastIndexOf(')');
    const QStringList patterns =
        filters[0].mid(open + 1, close - open - 1).split(' ', Qt::SkipEmptyParts);
    ASSERT_EQ(patterns.size(), KVCameraSets::supportedFileExtensions().size());
    const auto shown = [&](const QString &name) {
        return std::any_of(patterns.begin(), patterns.end(), [&](const QString &pattern) {
            return QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern))
                .match(name)
                .hasMatch();
        });
    };
    for (const QString &extension : KVCameraSets::supportedFileExtensions()) {
        QString mixed = extension;
        mixed[0] = mixed[0].toUpper();
        for (const QString &name : {"a." + extension, "A." + extension.toUpper(), "b." + mixed})
            EXPECT_TRUE(shown(name)) << qPrintable(name);
    }
    EXPECT_FALSE(shown("notes.txt"));
    EXPECT_FALSE(shown("clip.mov"));
    EXPECT_TRUE(window->addFolderAction()->isEnabled());
}

TEST_F(KVWindowTest, HelpOpensTheManualInsideWhenNothingOpensPdfFiles) {
    // A desktop that knows no program for anything.
    QTemporaryDir empty;
    const QByteArray saved[] = {qgetenv("XDG_DATA_DIRS"), qgetenv("XDG_CONFIG_DIRS"),
                                qgetenv("XDG_DATA_HOME"), qgetenv("XDG_CONFIG_HOME")};
    const char *names[] = {"XDG_DATA_DIRS", "XDG_CONFIG_DIRS", "XDG_DATA_HOME", "XDG_CONFIG_HOME"};
    for (const char *name : names)
        qputenv(name, empty.path().toUtf8());
    EXPECT_EQ(KVHelpWindow::pdfViewer(), QString());
    window->openManual();
    for (int i = 0; i < 4; ++i)
        qputenv(names[i], saved[i]);
    KVHelpWindow *help = window->helpWindow();
    ASSERT_NE(help, nullptr);
    EXPECT_TRUE(help->isVisible());
    EXPECT_TRUE(help->browser()->toPlainText().contains("Marking the reference photo"));
    help->close();
}

TEST(KVSingleInstanceTest, ASecondLaunchHandsItsFilesToTheFirst) {
    const QString name = QStringLiteral("kalvora-test-%1").arg(QCoreApplication::applicationPid());
    KVSingleInstance first(name);
    QStringList received;
    ASSERT_TRUE(first.listen([&](const QStringList &paths) { received = paths; }));

    // Many long paths, so the list crosses several socket reads.
    QStringList paths;
    for (int i = 0; i < 2000; ++i)
        paths << QStringLiteral("/media/card/DCIM/100CANON/Ä photo %1 with a long name.CR2").arg(i);
    // A name that is not UTF-8 arrives as the same bytes.
    paths << KVFileName::decode("/media/card/DCIM/Hochzeit_\xe4.jpg");
    std::atomic<int> handed{-1};
    std::thread second([&] {
        KVSingleInstance launch(name);
        handed = launch.handOver(paths) ? 1 : 0;
    });
    EXPECT_TRUE(KVTest::waitFor([&] {
        QCoreApplication::processEvents();
        return handed != -1;
    }));
    second.join();
    EXPECT_EQ(handed, 1);
    EXPECT_EQ(received, paths);

    // With nobody listening, a launch keeps its files and opens its own window.
    KVSingleInstance alone(name + QStringLiteral("-nobody"));
    EXPECT_FALSE(alone.handOver({QStringLiteral("/tmp/a.jpg")}, 300));
}

} // namespace

namespace {

// The tool bar's buttons show their whole titles in every language the program speaks, the sync
// button both of its titles, side by side without overlapping.
TEST(KVToolBarTest, EveryButtonFitsItsTitleInEveryLanguage) {
    QList<QLocale> locales = {QLocale(QLocale::English, QLocale::UnitedStates)};
    for (const QString &table : QDir(QStringLiteral(":/Translations"))
                                    .entryList({QStringLiteral("kalvora_*.qm")}, QDir::Files))
        locales << QLocale(table.mid(8).chopped(3));
    ASSERT_GE(locales.size(), 2);
    for (const QLocale &locale : std::as_const(locales)) {
        SCOPED_TRACE(locale.name().toStdString());
        const QList<QTranslator *> translators =
            KVTranslations::install(*QCoreApplication::instance(), locale);
        if (locale.language() != QLocale::English) {
            EXPECT_FALSE(translators.isEmpty());
        }
        {
            KVWindow window;
            window.resize(1000, 680);
            window.show();
            QCoreApplication::processEvents();
            KVButtonCell *suggest = window.suggestButton();
            KVButtonCell *sync = window.syncButton();
            EXPECT_EQ(suggest->text(), QCoreApplication::translate("KVWindow", "Suggest Matches"));
            for (KVButtonCell *button : {suggest, sync}) {
                const int title = button->fontMetrics().horizontalAdvance(button->text());
                EXPECT_GT(button->sizeHint().width(), title) << qPrintable(button->text());
                EXPECT_GE(button->width(), button->sizeHint().width())
                    << qPrintable(button->text());
            }
            EXPECT_GE(sync->width(),
                      sync->widthForTitle(KVAppDelegate::alternateSyncButtonTitle()));
            EXPECT_FALSE(suggest->geometry().intersects(window.manualButton()->geometry()));
            EXPECT_FALSE(suggest->geometry().intersects(window.displayView()->geometry()));
            EXPECT_GE(suggest->x(), 0);
        }
        for (QTranslator *translator : translators) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
    }
}

TEST(KVTranslationTest, TheGermanTableIsBuiltInAndTranslatesTheWindowsTexts) {
    QTranslator translator;
    ASSERT_TRUE(translator.load(QLocale(QLocale::German, QLocale::Germany),
                                QStringLiteral("kalvora"), QStringLiteral("_"),
                                QStringLiteral(":/Translations")));
    QCoreApplication::installTranslator(&translator);
    EXPECT_EQ(QCoreApplication::translate("KVAppDelegate", "Sync Time"),
              QStringLiteral("Zeit abgleichen"));
    // The progress texts keep their number places, which are filled in after translation.
    EXPECT_TRUE(QCoreApplication::translate("KVDisplaySynchProgressDrawer", "Undoing… %ld of %ld")
                    .contains(QStringLiteral("%ld von %ld")));
    {
        KVWindow window;
        EXPECT_EQ(window.syncButton()->text(), KVAppDelegate::mainSyncButtonTitle());
        EXPECT_EQ(window.removeFilesAction()->text(), QStringLiteral("Alle entfernen"));
        // The names a Linux desktop gives its menus in German.
        QStringList menus;
        for (QAction *menu : window.menuBar()->actions())
            menus << menu->text();
        EXPECT_EQ(menus, QStringList({"Kalvora", "Datei", "Bearbeiten", "Ansicht", "Hilfe"}));
    }
    QCoreApplication::removeTranslator(&translator);
}

} // namespace
