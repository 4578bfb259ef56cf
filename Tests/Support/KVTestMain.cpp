// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include <QStandardPaths>

#ifdef KALVORA_WIDGET_TESTS
#include <QApplication>
using KVTestApplication = QApplication;
#else
#include <QCoreApplication>
using KVTestApplication = QCoreApplication;
#endif

#include <gtest/gtest.h>

int main(int argc, char **argv) {
    // Tests never touch a real user's settings.
    QStandardPaths::setTestModeEnabled(true);
    // Widgets are drawn without a screen unless a test run asks for one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    KVTestApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
