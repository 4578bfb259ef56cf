// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QWidget>

class QTextBrowser;

// The manual inside the program, for a desktop where nothing opens PDF files: the manual's own
// pages, built into the program, in a window of their own with back and forward by link.
class KVHelpWindow : public QWidget {
    Q_OBJECT
public:
    explicit KVHelpWindow(QWidget *parent = nullptr);

    QTextBrowser *browser() const { return m_browser; }

    // The desktop's program for PDF files (a desktop entry name), empty when none is set.
    static QString pdfViewer();

private:
    QTextBrowser *m_browser;
};
