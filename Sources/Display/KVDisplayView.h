// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageFile.h"

#include <QImage>
#include <QWidget>

#include <atomic>

class KVDisplayDrawer;
class KVDisplayImageFileDrawer;
class KVDisplayStringDrawer;
class KVDisplaySynchProgressDrawer;
class KVOperationQueue;
struct KVDisplayGraphicsState;

// The status strip at the top of the window: a background, the content of exactly one drawer
// (the photo's details, a message or the progress of a run) and a glare laid over both.
class KVDisplayView : public QWidget {
    Q_OBJECT
public:
    explicit KVDisplayView(QWidget *parent = nullptr);
    ~KVDisplayView() override;

    KVDisplayDrawer *drawer() const;
    void setDrawer(KVDisplayDrawer *drawer);

    // The program's one drawer of each kind, made for the first view that asks. A drawer
    // whose view has gone is taken over by the next view that asks.
    KVDisplayImageFileDrawer *imageFileDrawer();
    KVDisplayStringDrawer *stringDrawer();
    KVDisplaySynchProgressDrawer *progressDrawer();

    void drawImageFile(const KVImageFileRef &imageFile, const QString &cameraName = QString());
    void drawString(const QString &string);
    // The queue is not owned: whoever owns it hands nullptr here (or to the progress drawer's
    // setQueue) before it goes.
    void startDrawSynchProgress(KVOperationQueue *queue);
    void drawSyncProcess();

    static const QImage &backgroundImage();
    static const QImage &backgroundBlikImage();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void drawBackground(KVDisplayGraphicsState &state);
    void drawSpeck(KVDisplayGraphicsState &state);

private:
    void makeCurrent(KVDisplayDrawer *drawer);

    std::atomic<KVDisplayDrawer *> m_drawer{nullptr};
};
