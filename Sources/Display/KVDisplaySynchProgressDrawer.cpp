// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDisplaySynchProgressDrawer.h"

#include "KVBundleImage.h"
#include "KVDispatch.h"
#include "KVDisplayView.h"
#include "KVKeyPath.h"
#include "KVOperationQueue.h"

#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

// Shared by every progress drawer and kept between runs, so the pattern never jumps back.
double sharedPrepareOffset = 0.0;

constexpr const char *prepareTexts[] = {
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Preparing to sync…"),
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Preparing to undo…"),
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Preparing to redo…"),
    // A cancel first waits for the photos being written, then changes back the done ones.
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Cancelling…"),
};

constexpr const char *runningTexts[] = {
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer",
                      "Syncing time and date\non selected cameras %ld of %ld"),
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Undoing… %ld of %ld"),
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Redoing… %ld of %ld"),
    QT_TRANSLATE_NOOP("KVDisplaySynchProgressDrawer", "Changing back… %ld of %ld"),
};

QString textOfTable(const char *const (&table)[4], KVOperationType type) {
    if (type < KVOperationTypeSync || type > KVOperationTypeCancel)
        return QString();
    return KVDisplaySynchProgressDrawer::tr(table[type]);
}

const KVTextAttributes &textAttributes() {
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = KVDisplayDrawer::labelsFont();
        made.color = KVDisplayDrawer::labelsColor();
        return made;
    }();
    return attributes;
}

} // namespace

KVDisplaySynchProgressDrawer::KVDisplaySynchProgressDrawer(KVDisplayView *view)
    : KVDisplayDrawer(view) {
}

KVDisplaySynchProgressDrawer::~KVDisplaySynchProgressDrawer() {
    setQueue(nullptr);
    setTimer(nullptr);
}

void KVDisplaySynchProgressDrawer::startWithQueue(KVOperationQueue *queue) {
    setQueue(queue);
}

KVOperationQueue *KVDisplaySynchProgressDrawer::queue() const {
    return m_queue;
}

const QStringList &KVDisplaySynchProgressDrawer::observedKeyPaths() {
    static const QStringList keyPaths = {KVKeyPath::processedImagesCount,
                                         KVKeyPath::isOperationsCancelled,
                                         KVKeyPath::operationType};
    return keyPaths;
}

void KVDisplaySynchProgressDrawer::setQueue(KVOperationQueue *queue) {
    if (queue == m_queue)
        return;
    if (m_queue) {
        for (const QString &keyPath : observedKeyPaths())
            m_queue->removeObserver(this, keyPath);
    }
    m_queue = queue;
    if (m_queue) {
        for (const QString &keyPath : observedKeyPaths())
            m_queue->addObserver(this, keyPath);
    }
}

QTimer *KVDisplaySynchProgressDrawer::timer() const {
    return m_timer;
}

void KVDisplaySynchProgressDrawer::setTimer(QTimer *timer) {
    if (timer == m_timer)
        return;
    if (m_timer) {
        m_timer->stop();
        delete m_timer;
    }
    m_timer = timer;
    if (m_timer)
        m_timer->setParent(this);
}

QString KVDisplaySynchProgressDrawer::prepareStringForOperationType(KVOperationType type) {
    return textOfTable(prepareTexts, type);
}

QString KVDisplaySynchProgressDrawer::stringForOperationType(KVOperationType type) {
    return textOfTable(runningTexts, type);
}

QString KVDisplaySynchProgressDrawer::stringForOperationType(KVOperationType type, qint64 processed,
                                                             qint64 all) {
    QString text = stringForOperationType(type);
    // The numbers go in by hand rather than through printf, so that a translation with a
    // stray conversion can never read what is not there.
    const QString placeholder = QStringLiteral("%ld");
    for (const qint64 number : {processed, all}) {
        const qsizetype at = text.indexOf(placeholder);
        if (at < 0)
            break;
        text.replace(at, placeholder.size(), QString::number(number));
    }
    return text;
}

bool KVDisplaySynchProgressDrawer::isPreparing(qint64 processed, bool cancelled) {
    return processed == 0 && !cancelled;
}

QString KVDisplaySynchProgressDrawer::textForState(KVOperationType type, qint64 processed,
                                                   qint64 all, bool cancelled) {
    if (isPreparing(processed, cancelled) || (cancelled && processed == 0))
        return prepareStringForOperationType(type);
    return stringForOperationType(type, processed, all);
}

const QImage &KVDisplaySynchProgressDrawer::contourBar() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("Progress_Empty"));
    return image;
}

const QImage &KVDisplaySynchProgressDrawer::fillBar() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("Progress_Fill"));
    return image;
}

const QImage &KVDisplaySynchProgressDrawer::prepareBar() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("Progress_Preparing"));
    return image;
}

QRectF KVDisplaySynchProgressDrawer::contourBarBounds() const {
    if (!view())
        return QRectF();
    return QRectF(18.0, 8.0, bounds().width() - 36.0, 7.0);
}

QRectF KVDisplaySynchProgressDrawer::prepareBarBounds() const {
    const QRectF contour = contourBarBounds();
    if (contour.isNull())
        return QRectF();
    return QRectF(contour.x() + 3.0, contour.y() + 1.0, contour.width() - 6.0,
                  contour.height() - 2.0);
}

QRectF KVDisplaySynchProgressDrawer::textBounds() const {
    const QRectF all = bounds();
    return QRectF(all.x(), all.y() + 0.2 * all.height(), all.width(), 0.8 * all.height());
}

QRectF KVDisplaySynchProgressDrawer::fillBounds() const {
    const QRectF contour = contourBarBounds();
    if (contour.isNull())
        return QRectF();
    return QRectF(contour.x() + 2.0, contour.y() + 2.0, contour.width() - 4.0,
                  contour.height() - 4.0);
}

double KVDisplaySynchProgressDrawer::fillWidth(qint64 processed, qint64 all,
                                               double fillBoundsWidth) {
    const double width =
        std::max(2.0, static_cast<double>(processed) / static_cast<double>(all) * fillBoundsWidth);
    // A run with nothing to count (a cancel of nothing) gives no number: it shows the least.
    return std::isfinite(width) ? width : 2.0;
}

double KVDisplaySynchProgressDrawer::prepareOffset() {
    return sharedPrepareOffset;
}

double KVDisplaySynchProgressDrawer::nextPrepareOffset(double offset, double tileWidth) {
    const double next = offset + 0.5;
    return next > 0.0 ? -tileWidth : next;
}

std::vector<double> KVDisplaySynchProgressDrawer::prepareTileLefts(double barLeft, double barWidth,
                                                                   double offset,
                                                                   double tileWidth) {
    std::vector<double> lefts;
    if (!(tileWidth > 0.0) || !std::isfinite(barWidth))
        return lefts;
    for (double left = barLeft + offset; left < barLeft + barWidth; left += tileWidth)
        lefts.push_back(left);
    return lefts;
}

void KVDisplaySynchProgressDrawer::draw(KVDisplayGraphicsState &state) {
    if (!view())
        return;
    const QRectF contour = contourBarBounds();
    const QImage &bar = contourBar();
    drawPicture(state.painter, bar, QRectF(0, 0, 3, 7),
                flipped(QRectF(contour.x(), contour.y(), 3.0, contour.height())));
    drawPicture(
        state.painter, bar, QRectF(12, 0, 3, 7),
        flipped(QRectF(contour.x() + contour.width() - 3.0, contour.y(), 3.0, contour.height())));
    drawPicture(
        state.painter, bar, QRectF(3, 0, 9, 7),
        flipped(QRectF(contour.x() + 3.0, contour.y(), contour.width() - 6.0, contour.height())));

    // Without a queue the display reads as a run that has not started.
    qint64 processed = m_queue ? m_queue->processedImagesCount() : 0;
    qint64 all = m_queue ? m_queue->allImagesCount() : 0;
    const bool cancelled = m_queue && m_queue->isOperationsCancelled();
    const KVOperationType type = m_queue ? m_queue->operationType() : KVOperationTypeSync;
    if (cancelled) {
        // The queue counts the photos still to change back; the display counts forwards, the
        // photos changed back out of those to change back.
        all = m_queue->cancelledImagesCount();
        processed = std::clamp<qint64>(all - processed, 0, all);
    }
    if (isPreparing(processed, cancelled))
        drawPreparing(state, type);
    else
        drawRunning(state, type, processed, all, cancelled);
}

void KVDisplaySynchProgressDrawer::drawPreparing(KVDisplayGraphicsState &state,
                                                 KVOperationType type) {
    if (!m_timer) {
        auto *timer = new QTimer;
        timer->setInterval(100);
        connect(timer, &QTimer::timeout, this, &KVDisplaySynchProgressDrawer::redrawPrepareProcess);
        timer->start();
        setTimer(timer);
    }
    drawInCenterOfRect(state.painter, prepareStringForOperationType(type), flipped(textBounds()),
                       textAttributes());

    // The clip stays for the rest of the paint, glare included: that is how the bar has always
    // looked while preparing.
    const QRectF bar = prepareBarBounds();
    state.painter.setClipRect(flipped(bar), Qt::IntersectClip);
    const QImage &tile = prepareBar();
    const double tileWidth = tile.isNull() ? 0.0 : tile.deviceIndependentSize().width();
    const QRectF wholeTile(QPointF(0.0, 0.0), tile.deviceIndependentSize());
    for (const double left : prepareTileLefts(bar.x(), bar.width(), sharedPrepareOffset, tileWidth))
        drawPicture(state.painter, tile, wholeTile,
                    flipped(QRectF(left, bar.y(), tileWidth, bar.height())));
    sharedPrepareOffset = nextPrepareOffset(sharedPrepareOffset, tileWidth);
}

void KVDisplaySynchProgressDrawer::drawRunning(KVDisplayGraphicsState &state, KVOperationType type,
                                               qint64 processed, qint64 all, bool cancelled) {
    setTimer(nullptr);
    drawInCenterOfRect(state.painter, textForState(type, processed, all, cancelled),
                       flipped(textBounds()), textAttributes());

    const QRectF fill = fillBounds();
    const double width = fillWidth(processed, all, fill.width());
    const QImage &bar = fillBar();
    drawPicture(state.painter, bar, QRectF(2, 2, 1, 3),
                flipped(QRectF(fill.x(), fill.y(), 1.0, fill.height())));
    drawPicture(state.painter, bar, QRectF(6, 2, 1, 3),
                flipped(QRectF(fill.x() + width - 1.0, fill.y(), 1.0, fill.height())));
    drawPicture(state.painter, bar, QRectF(3, 2, 3, 3),
                flipped(QRectF(fill.x() + 1.0, fill.y(), width - 2.0, fill.height())));
}

void KVDisplaySynchProgressDrawer::redrawPrepareProcess() {
    if (KVDisplayView *shown = view())
        shown->update(flipped(contourBarBounds()).toAlignedRect());
}

void KVDisplaySynchProgressDrawer::observeValueForKeyPath(const QString &, KVObservable *) {
    // Called on whichever thread changed the queue: only ask for a paint, on the main thread.
    KVDispatchMain([drawer = QPointer<KVDisplaySynchProgressDrawer>(this)] {
        if (drawer && drawer->view())
            drawer->view()->update();
    });
}
