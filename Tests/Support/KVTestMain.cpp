// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#ifdef KALVORA_WIDGET_TESTS
#include <QApplication>
using KVTestApplication = QApplication;
#else
#include <QCoreApplication>
using KVTestApplication = QCoreApplication;
#endif

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>

namespace {
// As root the tests mount tmpfs volumes. They do so in a mount namespace of this process's own,
// so a test that crashes never leaves a mount behind on the machine, and no other test process
// sees its unmounts.
void enterPrivateMountNamespace() {
    if (geteuid() != 0)
        return;
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        std::perror("tests: no private mount namespace");
}
} // namespace

int main(int argc, char **argv) {
    enterPrivateMountNamespace();
    // Tests never touch a real user's settings, nor the journals of their runs; the programs
    // they start inherit the folder.
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir state;
    qputenv("XDG_STATE_HOME", QFile::encodeName(state.path()));
    // Widgets are drawn without a screen unless a test run asks for one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    KVTestApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
