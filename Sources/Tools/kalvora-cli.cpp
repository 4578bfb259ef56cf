// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCommandLine.h"
#include "KVFileName.h"
#include "KVTranslations.h"

#include <QCoreApplication>

namespace {

const char *const usage = QT_TRANSLATE_NOOP(
    "KVCommandLine",
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
    "  stopped the run or a photo could not be changed.\n"
    "usage: kalvora-cli sync --suggested [--dry-run] [--json] PATHS...\n"
    "  Suggests each camera's offset as suggest does and syncs every camera whose confidence is\n"
    "  at least 0.8 by it, as the window's Sync Time does; prints what it did.\n"
    "usage: kalvora-cli suggest [--reference-camera KEY] [--json] PATHS...\n"
    "  Reads the photos in PATHS and suggests, from when they were taken, each camera's offset\n"
    "  against the reference camera (by default the first in the window's order): the seconds to\n"
    "  add to its dates, a confidence from 0 to 1 (from 0.8 on it is acted on), and the pair of\n"
    "  photos that shows the match best. Changes nothing.\n"
    "usage: kalvora-cli undo [--json]\n"
    "  Moves back the photos the last run of this user changed (see history), each by its own\n"
    "  shift, and prints each one. Exit status 1 when a photo could not be moved back.\n"
    "usage: kalvora-cli history [--json]\n"
    "  Lists the runs of this user from their journals, oldest first.\n"
    "usage: kalvora-cli recover [--rollback | --finish] [--json]\n"
    "  Settles runs that were cut off (a crash, a kill): changes their photos back to the dates\n"
    "  they had before (the default), or finishes them. Exit status 1 when a photo could not be\n"
    "  settled. Commands that change photos refuse to run while a cut-off run waits.\n");

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Kalvora"));
    KVTranslations::install(application);
    QStringList arguments = KVFileName::arguments(argc, argv);
    const QString command = arguments.isEmpty() ? QString() : arguments.takeFirst();
    int status = 2;
    if (command == QLatin1String("list"))
        status = KVRunListCommand(arguments);
    else if (command == QLatin1String("shift"))
        status = KVRunShiftCommand(arguments);
    else if (command == QLatin1String("sync"))
        status = KVRunSyncCommand(arguments);
    else if (command == QLatin1String("suggest"))
        status = KVRunSuggestCommand(arguments);
    else if (command == QLatin1String("undo"))
        status = KVRunUndoCommand(arguments);
    else if (command == QLatin1String("history"))
        status = KVRunHistoryCommand(arguments);
    else if (command == QLatin1String("recover"))
        status = KVRunRecoverCommand(arguments);
    if (status == 2)
        KVCommandLine::print(stderr, KVCommandLine::tr(usage));
    return status;
}
