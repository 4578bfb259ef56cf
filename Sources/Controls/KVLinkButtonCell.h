// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QAbstractButton>

// A text link: the title in link blue, underlined while the pointer is over it. A press opens
// `alternateTitle` as a web or mail address at once; the click itself is a button's click.
class KVLinkButtonCell : public QAbstractButton {
    Q_OBJECT
    Q_PROPERTY(QString alternateTitle READ alternateTitle WRITE setAlternateTitle)

public:
    explicit KVLinkButtonCell(QWidget *parent = nullptr);
    explicit KVLinkButtonCell(const QString &title, const QString &alternateTitle = QString(),
                              QWidget *parent = nullptr);

    static const QColor &linkColor();

    QString alternateTitle() const { return m_alternateTitle; }
    void setAlternateTitle(const QString &alternateTitle) { m_alternateTitle = alternateTitle; }

    bool isHighlighted() const { return m_isHighlighted; }
    void setHighlighted(bool isHighlighted);

    QSize sizeHint() const override;

protected:
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QFont titleFont() const;

    QString m_alternateTitle;
    bool m_isHighlighted = false;
};
