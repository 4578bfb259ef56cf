// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QAbstractButton>

class QImage;

// The round clock button that opens the manual date popover; it lights up while the pointer is
// over it, as long as it can be clicked.
class KVRoundButtonCell : public QAbstractButton {
    Q_OBJECT

public:
    explicit KVRoundButtonCell(QWidget *parent = nullptr);

    static const QImage &normalImage();
    static const QImage &pressedImage();

    bool isMouseOverButton() const { return m_isMouseOverButton; }
    // The picture the current state is drawn with.
    const QImage &image() const;

    QSize sizeHint() const override;

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_isMouseOverButton = false;
};
