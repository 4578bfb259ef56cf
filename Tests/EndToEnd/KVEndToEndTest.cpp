// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVEndToEndTest.h"

#include "KVAppDelegate.h"
#include "KVButtonCell.h"
#include "KVCameraBrowser.h"
#include "KVCameraViewDocumentView.h"
#include "KVDisplayStringDrawer.h"
#include "KVDisplayView.h"
#include "KVStartView.h"
#include "KVTableCellView.h"
#include "KVTestSupport.h"
#include "KVWindow.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QWheelEvent>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <optional>

const QString &KVEndToEndTest::syncedMessage() {
    static const QString message = QStringLiteral("Your photos have been synced\nsuccessfully!");
    return message;
}

void KVEndToEndTest::SetUp() {
    ASSERT_TRUE(temporary.isValid());
    QString error;
    ASSERT_TRUE(event.generate(temporary.filePath(QStringLiteral("event")), &error))
        << error.toStdString();

    // A dialog nobody expects would wait for a click forever: it is noted and dismissed.
    m_dialogWatch.setInterval(100);
    QObject::connect(&m_dialogWatch, &QTimer::timeout, &m_dialogWatch,
                     [this] { closeUnexpectedDialog(); });
    m_dialogWatch.start();

    window = std::make_unique<KVWindow>();
    window->launch(QStringLiteral(KALVORA_BUNDLE_DIR));
    // Tall enough for the four camera rows under the tool bar.
    window->resize(1280, 820);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    ASSERT_NO_FATAL_FAILURE(activateWindow());
}

void KVEndToEndTest::TearDown() {
    if (window) {
        EXPECT_TRUE(waitUntilIdle()) << "the program was still busy at the end of the test";
        window.reset();
    }
    m_dialogWatch.stop();
    EXPECT_TRUE(m_dialogs.isEmpty()) << "unexpected dialogs: " << dialogsShown().toStdString();
}

void KVEndToEndTest::closeUnexpectedDialog() {
    QWidget *modal = QApplication::activeModalWidget();
    if (!modal)
        return;
    if (auto *box = qobject_cast<QMessageBox *>(modal))
        m_dialogs << box->text() + QLatin1Char(' ') + box->informativeText();
    else
        m_dialogs << QString::fromLatin1(modal->metaObject()->className()) + QLatin1Char(' ') +
                         modal->windowTitle();
    if (auto *dialog = qobject_cast<QDialog *>(modal))
        dialog->reject();
    else
        modal->close();
}

KVAppDelegate &KVEndToEndTest::delegate() {
    return window->appDelegate();
}

void KVEndToEndTest::activateWindow() {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()))
        << "the window never became active, so it would get no keys";
}

void KVEndToEndTest::openEvent() {
    window->openFiles(event.photoPaths());
    ASSERT_NO_FATAL_FAILURE(waitForAllCameras());
}

void KVEndToEndTest::dropOnStartView(const QList<QUrl> &urls) {
    KVStartView *start = window->startView();
    ASSERT_TRUE(start->isVisible()) << "the drop area is not shown";
    ASSERT_TRUE(start->acceptDrops()) << "the drop area takes no drops";
    QMimeData data;
    data.setUrls(urls);
    const QPoint middle = start->rect().center();
    const Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
    QDragEnterEvent enter(middle, offered, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(start, &enter);
    ASSERT_TRUE(enter.isAccepted()) << "a drag of files is refused on entering";
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    QDragMoveEvent move(middle, offered, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(start, &move);
    QDropEvent drop(middle, offered, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(start, &drop);
    ASSERT_TRUE(drop.isAccepted()) << "the drop of files is refused";
}

void KVEndToEndTest::waitForAllCameras() {
    const int cameras = int(event.cameras().size());
    const bool shown = KVTest::waitFor(
        [&] {
            return !delegate().isProcessingPathes() &&
                   window->cameraBrowser()->numberOfRows() == cameras &&
                   window->cameraBrowser()->isVisible();
        },
        std::chrono::minutes(2));
    ASSERT_TRUE(shown) << "expected " << cameras << " camera rows, the browser shows "
                       << window->cameraBrowser()->numberOfRows() << " (delegate knows "
                       << delegate().numberOfCamerasInBrowser() << ", busy "
                       << delegate().isProcessingPathes()
                       << "); dialogs: " << dialogsShown().toStdString();
}

void KVEndToEndTest::zoomOnto(KVTableCellView *cell, int index) {
    // Burst frames are at least two seconds apart: at this many pixels per second a frame's
    // left part lies clear of the next frame.
    KVCameraViewDocumentView *timeline = cell->documentView();
    const double wanted =
        std::min(timeline->imageFrame(index).width() * 0.75, timeline->maxScaleValue());
    const QString name = timeline->imageAtIndex(index)->name();
    // Ctrl and the wheel, a notch at a time, with the pointer kept on the photo's left edge,
    // where no later photo lies over it: the photo must stay near the pointer.
    for (int notch = 0; notch < 5000 && timeline->scale() < wanted; ++notch) {
        const QRectF frame = timeline->imageFrame(index);
        const QPointF pointer =
            timeline->widgetPointFromDocument(QPointF(frame.left() + 1, frame.center().y()));
        ASSERT_TRUE(QRectF(timeline->rect()).contains(pointer))
            << "zooming in lost " << name.toStdString() << " from view";
        const double scale = timeline->scale();
        QWheelEvent wheel(pointer, timeline->mapToGlobal(pointer), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(timeline, &wheel);
        ASSERT_GT(timeline->scale(), scale)
            << "Ctrl+wheel over " << name.toStdString() << " did not zoom in at scale " << scale;
        // The anchor is the photo's edge; the frame around it may shift by a few points as
        // its neighbours draw apart, never away from the pointer.
        const QPointF moved = timeline->widgetPointFromDocument(
            QPointF(timeline->imageFrame(index).left() + 1, frame.center().y()));
        ASSERT_NEAR(moved.x(), pointer.x(), frame.width() * 0.25)
            << name.toStdString() << " slid away from under the pointer while zooming";
    }
    QCoreApplication::processEvents();
}

void KVEndToEndTest::clickPhoto(const QString &cameraKey, const QString &file, int clicks) {
    const int row = int(delegate().cameraSets().sortedCameras().indexOf(cameraKey));
    ASSERT_GE(row, 0) << "no camera " << cameraKey.toStdString();
    KVCameraBrowser *browser = window->cameraBrowser();
    browser->scrollRowToVisible(row);
    QCoreApplication::processEvents();
    KVTableCellView *cell = browser->viewAtRow(row, false);
    ASSERT_NE(cell, nullptr) << "row " << row << " has no widget once scrolled into view";
    KVCameraViewDocumentView *timeline = cell->documentView();
    int index = -1;
    for (int i = 0; i < timeline->imageCount(); ++i) {
        if (timeline->imageAtIndex(i) && timeline->imageAtIndex(i)->name() == file)
            index = i;
    }
    ASSERT_GE(index, 0) << file.toStdString() << " is not on the timeline of "
                        << cameraKey.toStdString();
    ASSERT_NO_FATAL_FAILURE(zoomOnto(cell, index));

    // Frames take their final width when their thumbnails arrive.
    const bool drawn = KVTest::waitFor([&] {
        const QRectF now = timeline->visibleRect();
        for (int i : timeline->imagesIntersectingXRange(now.left(), now.right())) {
            const KVImageView *item = timeline->liveImageView(i);
            if (!item || item->thumbnail().isNull())
                return false;
        }
        return timeline->liveImageView(index) != nullptr;
    });
    ASSERT_TRUE(drawn) << "the thumbnails around " << file.toStdString() << " never showed";

    const QRectF frame = timeline->imageFrame(index);
    const QRectF inView = timeline->visibleRect();
    std::optional<QPointF> target;
    for (double x = frame.left() + 4; x < frame.right() - 4 && !target; x += 1) {
        const QPointF point(x, frame.center().y());
        if (inView.contains(point) && timeline->imageHitTest(point) == index)
            target = point;
    }
    ASSERT_TRUE(target) << file.toStdString() << " is nowhere on top in the view: frame x "
                        << frame.x() << " width " << frame.width() << ", view x " << inView.x()
                        << " width " << inView.width();
    const QPoint inTimeline = timeline->widgetPointFromDocument(*target).toPoint();
    const QPoint inWindow = timeline->mapTo(window.get(), inTimeline);
    ASSERT_EQ(window->childAt(inWindow), timeline) << "something covers " << file.toStdString()
                                                   << " at " << inWindow.x() << "," << inWindow.y();

    const KVImageDataSourceRef photo = timeline->imageAtIndex(index);
    if (clicks == 2)
        QTest::mouseDClick(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, inWindow);
    else
        QTest::mouseClick(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, inWindow);
    QCoreApplication::processEvents();
    const KVImageState wanted = clicks == 2 ? KVImageStateEtalon : KVImageStateSelected;
    ASSERT_EQ(photo->imageState(), wanted)
        << (clicks == 2 ? "double" : "single") << " click on " << file.toStdString()
        << " left it in state " << photo->imageState();

    // The marked photo is drawn where it was hit: its blue frame runs along the frame's left edge.
    QCoreApplication::processEvents();
    const QRectF marked = timeline->imageFrame(index);
    const QImage picture = timeline->grab().toImage();
    const QColor frameBlue = QColor::fromRgbF(0.075f, 0.557f, 0.996f);
    bool framed = false;
    for (double x = marked.left() - 1; x <= marked.left() + 6 && !framed; x += 1) {
        const QPoint pixel =
            timeline->widgetPointFromDocument(QPointF(x, marked.center().y())).toPoint();
        if (!picture.rect().contains(pixel))
            continue;
        const QColor drawn = picture.pixelColor(pixel);
        framed = std::abs(drawn.red() - frameBlue.red()) <= 12 &&
                 std::abs(drawn.green() - frameBlue.green()) <= 12 &&
                 std::abs(drawn.blue() - frameBlue.blue()) <= 12;
    }
    EXPECT_TRUE(framed) << "no selection frame drawn at the left edge of " << file.toStdString();
}

void KVEndToEndTest::clickWidget(QWidget *widget, QPoint position) {
    ASSERT_TRUE(widget->isVisible()) << widget->metaObject()->className() << " is not shown";
    if (position.isNull())
        position = widget->rect().center();
    QWidget *top = widget->window();
    const QPoint inWindow = widget->mapTo(top, position);
    QWidget *hit = top->childAt(inWindow);
    ASSERT_TRUE(hit == widget || widget->isAncestorOf(hit))
        << (hit ? hit->metaObject()->className() : "nothing") << " lies over "
        << widget->metaObject()->className();
    QTest::mouseClick(top->windowHandle(), Qt::LeftButton, Qt::NoModifier, inWindow);
    QCoreApplication::processEvents();
}

QString KVEndToEndTest::displayedString() const {
    KVDisplayView *display = window->displayView();
    KVDisplayStringDrawer *strings = display->stringDrawer();
    return display->drawer() == strings ? strings->string() : QString();
}

bool KVEndToEndTest::waitForDisplayedString(const QString &text,
                                            std::chrono::milliseconds deadline) {
    return KVTest::waitFor([&] { return displayedString() == text; }, deadline);
}

bool KVEndToEndTest::waitUntilIdle(std::chrono::milliseconds deadline) {
    return KVTest::waitFor(
        [&] {
            return !delegate().isProcessingPathes() &&
                   window->syncButton()->text() == KVAppDelegate::mainSyncButtonTitle();
        },
        deadline);
}

KVDiskDates::Dates KVEndToEndTest::diskDates() {
    QString error;
    const KVDiskDates::Dates dates = KVDiskDates::read(event.photoPaths(), &error);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    return dates;
}

QString KVEndToEndTest::diskDifferences(const QMap<QString, QString> &expected) {
    return KVDiskDates::differences(diskDates(), expected);
}

void KVEndToEndTest::saveScreenshot(const QString &name) {
    const QString folder = qEnvironmentVariable("KALVORA_SCREENSHOT_DIR");
    if (folder.isEmpty())
        return;
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath(name);
    EXPECT_TRUE(window->grab().save(path)) << "cannot save " << path.toStdString();
}
