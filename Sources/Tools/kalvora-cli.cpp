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
    "  changed; exit status 1 when there are any, 130 when cancelled.\n";

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
    if (status == 2)
        std::fputs(usage, stderr);
    return status;
}
