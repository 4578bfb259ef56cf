// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QTimer>
#include <QWidget>

class QTextBrowser;

// The about box: the program's name and version, slowly scrolling credits and links to the
// support address and the web site. One is kept for the whole run and brought back on demand.
class KVAboutBox : public QWidget {
    Q_OBJECT

public:
    static const QString supportAddress; // "support@kalvora.app"
    static const QString webSite;        // "https://kalvora.app"

    explicit KVAboutBox(QWidget *parent = nullptr);

    // Centres the box on the main screen when it is not on screen yet, then brings it to the
    // front and makes it the active window.
    void showAboutBox();

    bool isScrollingCredits() const { return m_scrollTimer.isActive(); }
    int creditsOffset() const;

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void scrollCredits();

    QTextBrowser *m_credits = nullptr;
    QTimer m_scrollTimer;
    int m_pauseTicks = 0;
};
