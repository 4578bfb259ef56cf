// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The camera list at the size of a big event: 50 cameras of 2,000 photos each. Prints how long
// the list takes to show, how long a frame takes to paint at the smallest, a middle and the largest
// zoom, how long one zoom step takes, and how many row widgets and thumbnail items exist, which
// must follow what is in view and not the number of photos.

#include "KVCameraBrowser.h"
#include "KVCameraBrowserDataSource.h"
#include "KVCameraViewDocumentView.h"
#include "KVTableCellView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QSlider>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int cameraCount = 50;
constexpr int photosPerCamera = 2000;
constexpr int framesPerZoom = 50;

// A photo without a file; the pictures are shared, as a hundred thousand would not fit in memory.
class SyntheticPhoto : public KVImageDataSource {
public:
    SyntheticPhoto(const QDateTime &date, const QImage &thumbnail, int number)
        : m_date(date)
        , m_thumbnail(thumbnail)
        , m_number(number) {}
    QImage image() const override { return m_thumbnail; }
    QImage thumbnail() override { return m_thumbnail; }
    QDateTime creationDate() const override { return m_date; }
    QString name() const override {
        return QStringLiteral("IMG_%1.JPG").arg(m_number, 4, 10, QLatin1Char('0'));
    }
    QString cameraName() const override { return QStringLiteral("Synthetic"); }
    QUrl url() const override { return QUrl(); }
    KVImageState imageState() const override { return m_state; }
    void setImageState(KVImageState state) override { m_state = state; }

private:
    QDateTime m_date;
    QImage m_thumbnail;
    int m_number;
    KVImageState m_state = KVImageStateNormal;
};

class SyntheticCameras : public KVCameraBrowserDataSource {
public:
    SyntheticCameras() {
        std::vector<QImage> pictures;
        for (int i = 0; i < 24; ++i) {
            QImage picture(i % 3 ? 96 : 64, i % 3 ? 64 : 96, QImage::Format_RGB32);
            picture.fill(QColor::fromHsv(i * 15, 180, 220));
            QPainter painter(&picture);
            painter.fillRect(8, 8, 24, 24, QColor::fromHsv((i * 15 + 180) % 360, 200, 160));
            pictures.push_back(picture);
        }
        std::mt19937 random(20121107);
        // Bursts of shots a few seconds apart, with pauses of minutes to hours between them.
        std::exponential_distribution<double> burstGap(1.0 / 4.0);
        std::exponential_distribution<double> pause(1.0 / 900.0);
        std::bernoulli_distribution endsBurst(0.08);
        const QDateTime start(QDate(2012, 3, 7), QTime(8, 0));
        for (int c = 0; c < cameraCount; ++c) {
            std::vector<std::shared_ptr<KVImageDataSource>> photos;
            double seconds = c * 1800.0;
            for (int p = 0; p < photosPerCamera; ++p) {
                seconds += endsBurst(random) ? pause(random) : burstGap(random) + 1;
                photos.push_back(
                    std::make_shared<SyntheticPhoto>(start.addMSecs(qint64(seconds * 1000)),
                                                     pictures[(c * 7 + p) % pictures.size()], p));
            }
            m_cameras.push_back(std::move(photos));
        }
    }

    int numberOfCamerasInBrowser(KVCameraBrowser *) override { return int(m_cameras.size()); }
    QString nameForCameraWithIndex(KVCameraBrowser *, int index) override {
        return QStringLiteral("Synthetic camera %1").arg(index + 1);
    }
    QString toolTipForCameraWithIndex(KVCameraBrowser *, int index) override {
        return QStringLiteral("Synthetic camera %1").arg(index + 1);
    }
    std::vector<std::shared_ptr<KVImageDataSource>> imagesForCameraWithIndex(KVCameraBrowser *,
                                                                             int index) override {
        return m_cameras.at(index);
    }
    bool isProcessingPathes() const override { return false; }
    void addNewFilesFromURLs(const QList<QUrl> &) override {}

private:
    std::vector<std::vector<std::shared_ptr<KVImageDataSource>>> m_cameras;
};

void print(const char *name, double value, const char *unit) {
    std::printf("%-48s %12.3f %s\n", name, value, unit);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::vector<KVTableCellView *> visibleRows(KVCameraBrowser &browser) {
    std::vector<KVTableCellView *> rows;
    for (int row : browser.rowsWithViews())
        rows.push_back(browser.viewAtRow(row, false));
    return rows;
}

// Thumbnails arrive from a worker; a few rounds of events let them in before frames are timed.
void settle() {
    for (int i = 0; i < 20; ++i) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QElapsedTimer wait;
        wait.start();
        while (wait.elapsed() < 5)
            QApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}

std::size_t thumbnailItems(KVCameraBrowser &browser);

// With --frames DIR the last frame of each zoom is saved there, to look at.
QString framesFolder;

std::vector<double> frameTimes(KVCameraBrowser &browser, QImage &frame) {
    std::vector<double> times;
    for (int i = 0; i < framesPerZoom; ++i) {
        QElapsedTimer timer;
        timer.start();
        browser.render(&frame);
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    return times;
}

// The frames as the list repaints them (each row keeps its picture; the first frame paints
// everything), and the same frames with every row painted afresh, as while zooming or scrolling
// a row sideways.
void measureFrames(KVCameraBrowser &browser, const char *medianName, const char *worstName,
                   const char *itemsName) {
    settle();
    QImage frame(browser.size(), QImage::Format_ARGB32_Premultiplied);
    const std::vector<double> times = frameTimes(browser, frame);
    print(medianName, median(times), "ms");
    print(worstName, *std::max_element(times.begin(), times.end()), "ms");
    for (KVTableCellView *row : visibleRows(browser))
        row->documentView()->setPaintCacheEnabled(false);
    const std::vector<double> fresh = frameTimes(browser, frame);
    for (KVTableCellView *row : visibleRows(browser))
        row->documentView()->setPaintCacheEnabled(true);
    print((std::string(medianName) + ", painted afresh").c_str(), median(fresh), "ms");
    print(itemsName, double(thumbnailItems(browser)), "items");
    if (!framesFolder.isEmpty())
        frame.save(QStringLiteral("%1/%2.png").arg(framesFolder, QString::fromLatin1(itemsName)));
}

// Zoomed in, most of a day has no photos; each row is scrolled to its middle photo so that the
// frame has thumbnails to paint.
void zoomVisibleRows(KVCameraBrowser &browser, int sliderPosition) {
    for (KVTableCellView *row : visibleRows(browser)) {
        row->slider()->setValue(sliderPosition);
        KVCameraViewDocumentView *timeline = row->documentView();
        const double x = timeline->imageFrame(timeline->imageCount() / 2).x();
        timeline->setVisibleOriginX(x - timeline->visibleRect().width() * 0.4);
    }
}

std::size_t thumbnailItems(KVCameraBrowser &browser) {
    std::size_t count = 0;
    for (KVTableCellView *row : visibleRows(browser))
        count += row->documentView()->liveImageViewCount();
    return count;
}

} // namespace

int main(int argc, char **argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (const qsizetype option = arguments.indexOf(QStringLiteral("--frames"));
        option >= 0 && option + 1 < arguments.size())
        framesFolder = arguments.at(option + 1);

    SyntheticCameras cameras;
    KVCameraBrowser browser;
    browser.setDataSource(&cameras);
    browser.resize(1280, 800);

    QElapsedTimer showTimer;
    showTimer.start();
    browser.show();
    browser.reload();
    QApplication::processEvents();
    print("show browser", showTimer.nsecsElapsed() / 1e6, "ms");
    print("cameras", cameraCount, "rows");
    print("photos", double(cameraCount) * photosPerCamera, "photos");

    measureFrames(browser, "frame at smallest zoom, median", "frame at smallest zoom, worst",
                  "thumbnail items at smallest zoom");
    // A hundredth of the slider's travel: hours across the row, the busiest frames.
    zoomVisibleRows(browser, KVTableCellView::sliderSteps / 100);
    measureFrames(browser, "frame at slider 1%, median", "frame at slider 1%, worst",
                  "thumbnail items at slider 1%");
    zoomVisibleRows(browser, KVTableCellView::sliderSteps / 2);
    measureFrames(browser, "frame at middle zoom, median", "frame at middle zoom, worst",
                  "thumbnail items at middle zoom");
    zoomVisibleRows(browser, KVTableCellView::sliderSteps);
    measureFrames(browser, "frame at largest zoom, median", "frame at largest zoom, worst",
                  "thumbnail items at largest zoom");

    KVTableCellView *row = visibleRows(browser).front();
    row->slider()->setValue(0);
    const double step = (row->sliderMaximum() - row->sliderMinimum()) / 50;
    std::vector<double> steps;
    std::vector<double> paintedSteps;
    QImage rowFrame(row->size(), QImage::Format_ARGB32_Premultiplied);
    for (int i = 0; i < 40; ++i) {
        QElapsedTimer timer;
        timer.start();
        row->changeScaleToDelta(i < 20 ? step : -step,
                                row->documentView()->visibleRect().center().x());
        steps.push_back(timer.nsecsElapsed() / 1e6);
        row->render(&rowFrame);
        paintedSteps.push_back(timer.nsecsElapsed() / 1e6);
    }
    print("zoom step, median", median(steps), "ms");
    print("zoom step, worst", *std::max_element(steps.begin(), steps.end()), "ms");
    print("zoom step and row repaint, median", median(paintedSteps), "ms");

    print("row widgets alive", browser.rowViewCount(), "widgets");
    print("thumbnail items alive", double(thumbnailItems(browser)), "items");
    // Scrolled through the whole list, the counts stay those of one screenful.
    QScrollBar *bar = browser.verticalScrollBar();
    QElapsedTimer scrollTimer;
    scrollTimer.start();
    int positions = 0;
    std::size_t mostItems = 0;
    int mostRows = 0;
    for (int value = 0; value <= bar->maximum(); value += KVCameraBrowser::rowHeight / 2) {
        bar->setValue(value);
        ++positions;
        mostRows = std::max(mostRows, browser.rowViewCount());
        mostItems = std::max(mostItems, thumbnailItems(browser));
    }
    print("scroll half a row, mean", scrollTimer.nsecsElapsed() / 1e6 / positions, "ms");
    print("row widgets alive, most", mostRows, "widgets");
    print("thumbnail items alive, most", double(mostItems), "items");
    return 0;
}
