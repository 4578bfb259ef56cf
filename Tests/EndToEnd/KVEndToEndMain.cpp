// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include <QApplication>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char **argv) {
    QStandardPaths::setTestModeEnabled(true);
    // The journals of the runs stay with this test process.
    const QTemporaryDir state;
    qputenv("XDG_STATE_HOME", QFile::encodeName(state.path()));
    // Real input needs a real window system: clicks go through the X server's window, keys
    // through an active window. CTest runs this under Xvfb.
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fputs("kalvora_tests_EndToEnd needs an X display; run it through ctest, which "
                   "starts Xvfb, or under xvfb-run\n",
                   stderr);
        return 1;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
