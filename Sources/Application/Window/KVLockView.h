// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QTimer>
#include <QWidget>

// The grey veil laid over the camera list while photos are being added: it dims what lies
// beneath at half strength, spins a progress indicator and keeps every click and wheel turn
// for itself, so the user cannot change the model while it is being rebuilt.
class KVLockView : public QWidget {
    Q_OBJECT

public:
    explicit KVLockView(QWidget *parent = nullptr);

    // The indicator runs only while the view is in a window's tree and on screen.
    bool isProgressAnimating() const { return m_spinTimer.isActive(); }
    // The indicator's current step, one of kSpokeCount.
    int progressStep() const { return m_step; }

    static constexpr int kSpokeCount = 12;

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void updateAnimation();
    QRectF spinnerRect() const;

    QTimer m_spinTimer;
    int m_step = 0;
};
