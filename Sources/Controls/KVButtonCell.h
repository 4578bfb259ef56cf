// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QPushButton>
#include <QRectF>

class QImage;

// The big sync button: a three-slice picture per state under a dark, embossed title. Only the
// look and the hover tracking differ from a plain push button.
class KVButtonCell : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(bool isMouseOverButton READ isMouseOverButton WRITE setMouseOverButton)

public:
    explicit KVButtonCell(QWidget *parent = nullptr);
    explicit KVButtonCell(const QString &title, QWidget *parent = nullptr);

    static QRectF leftUnitOfImage();
    static QRectF centralUnitOfImage();
    static QRectF rightUnitOfImage();

    bool isMouseOverButton() const { return m_isMouseOverButton; }
    void setMouseOverButton(bool isMouseOverButton);

    // The bundle picture the current state is drawn with.
    QString imageName() const;

    QSize sizeHint() const override;
    // The width that shows the title whole between the caps.
    int widthForTitle(const QString &title) const;

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void drawInterior(QPainter &painter, const QRectF &frame);
    void drawTitle(QPainter &painter, const QRectF &frame);

    bool m_isMouseOverButton = false;
};
