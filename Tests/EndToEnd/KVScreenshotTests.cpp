// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The window as a user sees it on a desktop: under a real window manager, with its frames, the
// report sheet over the window and an alert. With KALVORA_SCREENSHOT_DIR set, the pictures of
// the README are saved there.

#include "KVAddFilesAlertPanel.h"
#include "KVButtonCell.h"
#include "KVCameraBrowser.h"
#include "KVDemoEventFiles.h"
#include "KVTestSupport.h"
#include "KVTranslations.h"
#include "KVWindow.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTranslator>

#include <gtest/gtest.h>

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

namespace {

const QString kWindowManager = QStringLiteral("openbox");

class KVScreenshotTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable(kWindowManager).isEmpty())
            GTEST_SKIP() << "no window manager: " << kWindowManager.toStdString()
                         << " is not installed (scripts/setup.sh installs it)";
        QByteArray program = kWindowManager.toUtf8();
        QByteArray noSession("--sm-disable");
        char *arguments[] = {program.data(), noSession.data(), nullptr};
        ASSERT_EQ(posix_spawnp(&m_windowManager, program.constData(), nullptr, nullptr, arguments,
                               environ),
                  0);
        // As the program names itself: the alerts' title bars read it.
        QCoreApplication::setApplicationName(QStringLiteral("Kalvora"));
        ASSERT_TRUE(temporary.isValid());
        QString error;
        ASSERT_TRUE(event.generate(temporary.filePath(QStringLiteral("event")), &error))
            << error.toStdString();
        m_savedDataHome = qgetenv("XDG_DATA_HOME");
        QDir().mkpath(temporary.filePath(QStringLiteral("data/Trash/files")));
        qputenv("XDG_DATA_HOME", temporary.filePath(QStringLiteral("data")).toUtf8());
    }

    void TearDown() override {
        if (window) {
            window->appDelegate().cameraSets().queue().waitUntilAllOperationsAreFinished();
            window.reset();
        }
        for (QTranslator *translator : std::as_const(m_translators)) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
        QLocale::setDefault(m_savedLocale);
        if (m_windowManager > 0) {
            kill(m_windowManager, SIGTERM);
            waitpid(m_windowManager, nullptr, 0);
        }
        qputenv("XDG_DATA_HOME", m_savedDataHome);
    }

    void speak(const QLocale &locale) {
        QLocale::setDefault(locale);
        m_translators = KVTranslations::install(*QCoreApplication::instance(), locale);
    }

    // The window with the demo event, once the window manager has framed it.
    void openWindow(const QStringList &extraPaths = {}) {
        window = std::make_unique<KVWindow>();
        window->launch(QStringLiteral(KALVORA_BUNDLE_DIR));
        window->resize(1200, 760);
        window->show();
        ASSERT_TRUE(framed(window.get())) << "the window manager never framed the window";
        window->openFiles(event.photoPaths() + extraPaths);
        ASSERT_TRUE(KVTest::waitFor(
            [&] {
                QCoreApplication::processEvents();
                return !window->appDelegate().isProcessingPathes() &&
                       window->cameraBrowser()->numberOfRows() == int(event.cameras().size());
            },
            std::chrono::minutes(2)));
        settle();
    }

    static bool framed(QWidget *widget) {
        return KVTest::waitFor([&] {
            QCoreApplication::processEvents();
            return widget->isVisible() && widget->frameGeometry() != widget->geometry();
        });
    }

    // Thumbnails and the window manager's redraws arrive over a few rounds of events.
    static void settle() {
        for (int i = 0; i < 20; ++i) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QTest::qWait(20);
        }
    }

    // The screen where the window is, frame included, and whatever lies over it.
    QImage screenOfWindow() const {
        const QRect frame = window->frameGeometry();
        return window->screen()
            ->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height())
            .toImage();
    }

    void save(const QImage &picture, const QString &name) const {
        const QString folder = qEnvironmentVariable("KALVORA_SCREENSHOT_DIR");
        if (folder.isEmpty())
            return;
        QDir().mkpath(folder);
        EXPECT_TRUE(picture.save(QDir(folder).filePath(name))) << name.toStdString();
    }

    QTemporaryDir temporary;
    KVDemoEventFiles event;
    std::unique_ptr<KVWindow> window;

private:
    pid_t m_windowManager = -1;
    QList<QTranslator *> m_translators;
    QLocale m_savedLocale;
    QByteArray m_savedDataHome;
};

TEST_F(KVScreenshotTest, TheWindowInGerman) {
    speak(QLocale(QLocale::German, QLocale::Germany));
    ASSERT_NO_FATAL_FAILURE(openWindow());
    QStringList menus;
    for (QAction *menu : window->menuBar()->actions())
        menus << menu->text();
    EXPECT_EQ(menus, QStringList({"Kalvora", "Datei", "Bearbeiten", "Ansicht", "Hilfe"}));
    EXPECT_EQ(window->syncButton()->text(), QStringLiteral("Zeit abgleichen"));
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Kalvora"));
    save(screenOfWindow(), QStringLiteral("kalvora-window-german.png"));
}

TEST_F(KVScreenshotTest, TheReportOfRefusedFilesIsASheetOverTheWindow) {
    // Refused files deep in a card's folders, so that the path column has to shorten them.
    const QString card =
        temporary.filePath(QStringLiteral("media/CARD-2/DCIM/100OX005/ceremony/first-dance"));
    ASSERT_TRUE(QDir().mkpath(card));
    const QStringList refused = KVTest::copySamples(
        {"cameras/PaintTool_sample.jpg", "cameras/Canon_40D_photoshop_import.jpg"}, card);
    QFile notes(card + QStringLiteral("/notes.txt"));
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("the best man's speech starts at 15:40\n");
    notes.close();
    ASSERT_NO_FATAL_FAILURE(openWindow({card}));

    KVAddFilesAlertPanel *sheet = window->findChild<KVAddFilesAlertPanel *>();
    ASSERT_NE(sheet, nullptr) << "no report of the refused files";
    ASSERT_TRUE(framed(sheet));
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    EXPECT_EQ(sheet->tableArray().rowCount(), 3);
    sheet->findChild<QToolButton *>(QStringLiteral("disclosureButton"))->click();
    settle();
    // Over the window, in the middle of it, and not in a corner of the screen.
    const QRect frame = window->frameGeometry();
    EXPECT_TRUE(frame.contains(sheet->frameGeometry().center()));
    EXPECT_LT(std::abs(sheet->frameGeometry().center().x() - frame.center().x()), 40);
    save(screenOfWindow(), QStringLiteral("kalvora-report-sheet.png"));
    sheet->performOK();
}

TEST_F(KVScreenshotTest, AnAlertLeadsWithItsHeadline) {
    ASSERT_NO_FATAL_FAILURE(openWindow());
    // The manual's picture of two bodies of one model, told apart by their serials.
    const KVCameraBrowser *browser = window->cameraBrowser();
    const QRect twoRows =
        QRect(browser->mapTo(window.get(), QPoint(0, 0)),
              QSize(browser->viewport()->width(), 2 * KVCameraBrowser::rowHeight));
    EXPECT_TRUE(window->appDelegate().cameraSets().nameForCameraWithIndex(0).contains(
        QStringLiteral(" · …")));
    save(window->grab(twoRows).toImage(), QStringLiteral("kalvora-two-bodies.png"));

    // A photo moved to the Trash while it is shown: the program says so.
    const QString photo = event.photoPaths().first();
    QMessageBox *shown = nullptr;
    QImage picture;
    QTimer watch;
    watch.setInterval(100);
    QObject::connect(&watch, &QTimer::timeout, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box || box->frameGeometry() == box->geometry())
            return;
        watch.stop();
        settle();
        shown = box;
        EXPECT_EQ(box->text(), QStringLiteral("Cannot open file or files"));
        EXPECT_TRUE(box->informativeText().contains(QFileInfo(photo).fileName()));
        EXPECT_FALSE(box->informativeText().contains(QStringLiteral("Finder")));
        picture = screenOfWindow();
        box->buttons().first()->click();
    });
    watch.start();
    ASSERT_TRUE(QFile::rename(photo, temporary.filePath(QStringLiteral("data/Trash/files/")) +
                                         QFileInfo(photo).fileName()));
    ASSERT_TRUE(KVTest::waitFor(
        [&] {
            QCoreApplication::processEvents();
            return !picture.isNull();
        },
        std::chrono::seconds(60)))
        << "no alert about the trashed photo";
    EXPECT_NE(shown, nullptr);
    save(picture, QStringLiteral("kalvora-alert.png"));
}

} // namespace
