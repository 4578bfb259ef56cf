// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVAppDelegate.h"
#include "KVHeadlessUserInterface.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

// A delegate with a window that has no pixels, its tool pointed at the real exiftool, its
// temporary files and Trash in a folder of the test's own.
class KVAppDelegateFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Copies a sample into folder/name and gives it a capture date ("yyyy:MM:dd HH:mm:ss").
    QString makePhoto(const QString &folder, const QString &name, const QString &sample,
                      const QString &date);
    void add(const QStringList &paths);
    KVImageFileRef photo(const QString &path) const;
    // The capture date as written in the file, read by a fresh reader.
    static QString dateOnDisk(const QString &path);
    bool waitForRunToEnd();
    static bool canMount();
    static bool run(const QString &program, const QStringList &arguments);

    QTemporaryDir m_root;
    KVHeadlessUserInterface m_ui;
    std::unique_ptr<KVAppDelegate> m_delegate;

private:
    QByteArray m_savedRuntimeDir;
    QByteArray m_savedDataHome;
    QByteArray m_savedStateHome;
};
