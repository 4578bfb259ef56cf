// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVDemoEventFiles.h"
#include "KVDiskDates.h"

#include <QPoint>
#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <ostream>

class KVAppDelegate;
class KVTableCellView;
class KVWindow;
class QWidget;

// Failures show texts as text.
inline void PrintTo(const QString &string, std::ostream *stream) {
    *stream << '"' << string.toStdString() << '"';
}

// A fresh demo event and the real main window on a real X server, driven the way a person
// drives it: clicks where the thumbnails and buttons are drawn, keys, menu items and drops.
// The program's own state is only read, to find where things are and what they became.
class KVEndToEndTest : public ::testing::Test {
protected:
    static const QString &syncedMessage();

    void SetUp() override;
    void TearDown() override;

    KVAppDelegate &delegate();

    // Photos in: the operating system's open request, or a drop from a file manager.
    void openEvent();
    void dropOnStartView(const QList<QUrl> &urls);
    void waitForAllCameras();

    // Scrolls the camera's row into view, zooms in around the photo until its frame stands
    // clear of its burst and clicks it there; a double click with clicks == 2.
    void clickPhoto(const QString &cameraKey, const QString &file, int clicks);
    // Clicks the middle (or `position`) of a widget through its window, so that whatever lies
    // on top at that place would get the click instead.
    void clickWidget(QWidget *widget, QPoint position = QPoint());
    void activateWindow();

    QString displayedString() const;
    bool waitForDisplayedString(const QString &text,
                                std::chrono::milliseconds deadline = std::chrono::minutes(5));
    // No file work and no run in progress, and the button is back to "Sync Time".
    bool waitUntilIdle(std::chrono::milliseconds deadline = std::chrono::minutes(5));

    KVDiskDates::Dates diskDates();
    // Empty when every photo of the event carries its expected time in every date tag.
    QString diskDifferences(const QMap<QString, QString> &expected);
    void saveScreenshot(const QString &name);
    QString dialogsShown() const { return m_dialogs.join(QStringLiteral("; ")); }

    QTemporaryDir temporary;
    KVDemoEventFiles event;
    std::unique_ptr<KVWindow> window;

private:
    void zoomOnto(KVTableCellView *cell, int index);
    void closeUnexpectedDialog();

    QStringList m_dialogs;
    QTimer m_dialogWatch;
};
