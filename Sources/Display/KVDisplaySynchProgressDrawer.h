// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVDisplayDrawer.h"
#include "KVObservable.h"
#include "KVOperationType.h"

#include <QImage>
#include <QString>

#include <vector>

class KVOperationQueue;
class QTimer;

// Shows the progress of a run of the synchronization queue: a moving pattern while the run
// prepares, then the count of photos done and a filled bar. It follows the queue by observing
// it and reads the counts afresh at each paint.
class KVDisplaySynchProgressDrawer : public KVDisplayDrawer, public KVObserver {
    Q_OBJECT
public:
    explicit KVDisplaySynchProgressDrawer(KVDisplayView *view);
    ~KVDisplaySynchProgressDrawer() override;

    void startWithQueue(KVOperationQueue *queue);
    // Not owned: the owner sets nullptr before the queue goes.
    KVOperationQueue *queue() const;
    void setQueue(KVOperationQueue *queue);
    QTimer *timer() const;
    // Takes the timer over; the previous one is stopped and deleted.
    void setTimer(QTimer *timer);

    // Null for a type outside 0…3.
    static QString prepareStringForOperationType(KVOperationType type);
    static QString stringForOperationType(KVOperationType type);
    // The running text filled with the two counts, in that order.
    static QString stringForOperationType(KVOperationType type, qint64 processed, qint64 all);
    // Preparing until a photo is done or the run is cancelled.
    static bool isPreparing(qint64 processed, bool cancelled);
    // The text the display shows for that state of a queue; for a cancel, processed counts the
    // photos changed back, and none yet reads "Cancelling…".
    static QString textForState(KVOperationType type, qint64 processed, qint64 all, bool cancelled);

    static const QImage &contourBar();
    static const QImage &fillBar();
    static const QImage &prepareBar();

    // Lower-left-origin geometry in the current view; empty without a view.
    QRectF contourBarBounds() const;
    QRectF prepareBarBounds() const;
    QRectF textBounds() const;
    QRectF fillBounds() const;
    static double fillWidth(qint64 processed, qint64 all, double fillBoundsWidth);

    // The tiles' shared offset: where the next preparing draw starts them.
    static double prepareOffset();
    static double nextPrepareOffset(double offset, double tileWidth);
    // Left edges of the tiles that cover a bar from its left edge on.
    static std::vector<double> prepareTileLefts(double barLeft, double barWidth, double offset,
                                                double tileWidth);

    void draw(KVDisplayGraphicsState &state) override;
    void redrawPrepareProcess();

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

private:
    static const QStringList &observedKeyPaths();
    void drawPreparing(KVDisplayGraphicsState &state, KVOperationType type);
    void drawRunning(KVDisplayGraphicsState &state, KVOperationType type, qint64 processed,
                     qint64 all, bool cancelled);

    KVOperationQueue *m_queue = nullptr;
    QTimer *m_timer = nullptr;
};
