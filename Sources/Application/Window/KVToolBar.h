// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QPointer>
#include <QWidget>

// The tool bar area of the main window. The window moves the placeholder, its centre item,
// when it enters or leaves full screen; the tool bar itself does nothing.
class KVToolBar : public QWidget {
    Q_OBJECT

public:
    explicit KVToolBar(QWidget *parent = nullptr);

    // Not owned: the item belongs to the tool bar's layout.
    QWidget *placeholder() const { return m_placeholder; }
    void setPlaceholder(QWidget *placeholder) { m_placeholder = placeholder; }

private:
    QPointer<QWidget> m_placeholder;
};
