// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"

#include <QCoreApplication>

namespace {

const char *usage =
    "usage: kalvora-cli list [--json] PATHS...\n"
    "  Reads the photos in PATHS (files or folders, to any depth) and prints them by camera:\n"
    "  identity key, name, tool tip, count, first and last capture date, every photo, and the\n"
    "  files that were refused with the reason.\n"
    "usage: kalvora-cli shift --seconds S [--camera KEY]... [--json] PATHS...\n"
    "  Reads the photos in PATHS and shifts the capture dates of every photo of each camera\n"
    "  KEY (as list prints it; every camera when none is given) by S seconds. Ctrl-C cancels\n"
    "  and changes back the photos already changed. Prints the files that could not be\n"
    "  changed; exit status 1 when there are any, 130 when cancelled.\n"
    "usage: kalvora-cli sync (--reference FILE | --base \"yyyy:MM:dd HH:mm:ss\") --match FILE...\n"
    "                        [--dry-run] [--json] PATHS...\n"
    "  Reads the photos in PATHS, marks FILE as the reference photo (or the base time as the\n"
    "  reference) and each --match FILE as its camera's photo of the same moment, prints each\n"
    "  camera's offset and, unless --dry-run, shifts every photo of those cameras by it, as the\n"
    "  window's Sync Time does. Ctrl-C cancels like Cancel Syncing. Exit status 1 when a check\n"
    "  stopped the run or a photo could not be changed.\n";

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Kalvora"));
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString command = arguments.isEmpty() ? QString() : arguments.takeFirst();
    int status = 2;
    if (command == QLatin1String("list"))
        status = KVRunListCommand(arguments);
    else if (command == QLatin1String("shift"))
        status = KVRunShiftCommand(arguments);
    else if (command == QLatin1String("sync"))
        status = KVRunSyncCommand(arguments);
    if (status == 2)
        std::fputs(usage, stderr);
    return status;
}
