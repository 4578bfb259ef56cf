// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFakeTool.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <csignal>

namespace {

// Stands between the writer and the real tool, line by line; a photo is held just before the
// line that makes the tool act on it.
const char proxyScript[] = R"(#!/usr/bin/perl
use strict;
use warnings;
use IO::Handle;
my ($real, $dir, $passing, $holding) = ('%1', '%2', %3, %4);
sub note { open(my $f, '>>', $_[0]) or return; print $f $_[1]; close $f; }
note("$dir/pids", "$$\n");
# The tool behind ends with this stand-in, as the stand-in ends with the program.
# Read before the fork: the list of a piped open is read in the child.
my $self = $$;
my $child = open(my $tool, '|-', 'setpriv', '--pdeathsig', 'KILL', '--', '/bin/sh', '-c',
    'test "$PPID" = "$1" || exit 70; shift; exec "$@"', 'tool', $self, $real, @ARGV)
    or die "cannot start $real";
note("$dir/pids", "$child\n");
$tool->autoflush(1);
my $previous = '';
while (my $line = <STDIN>) {
    if ($line =~ /^-execute/) {
        my $ticket = 0;
        $ticket++ until mkdir("$dir/tickets/$ticket");
        if ($ticket >= $passing && $ticket - $passing < $holding && -e "$dir/gate") {
            local $SIG{TERM} = 'IGNORE';
            local $SIG{INT} = 'IGNORE';
            note("$dir/held", "$ticket\n");
            select(undef, undef, undef, 0.02) while -e "$dir/gate";
        }
    }
    print $tool $line;
    # Asked to leave: goes with the tool, as the tool itself would.
    last if $previous =~ /^-stay_open$/ && $line =~ /^false$/i;
    $previous = $line;
}
close $tool;
)";

bool isAlive(pid_t pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    // The state follows the command name in parentheses.
    const QByteArray text = stat.readAll();
    const qsizetype end = text.lastIndexOf(')');
    return end > 0 && end + 2 < text.size() && text[end + 2] != 'Z' && text[end + 2] != 'X';
}

} // namespace

namespace KVTest {

FakeTool::FakeTool(const QString &folder, int passing, int holding)
    : m_folder(folder)
    , m_path(folder + QStringLiteral("/exiftool")) {
    QDir().mkpath(folder + QStringLiteral("/tickets"));
    QFile script(m_path);
    if (script.open(QIODevice::WriteOnly))
        script.write(QString::fromLatin1(proxyScript)
                         .arg(QStringLiteral(KALVORA_EXIFTOOL), folder)
                         .arg(passing)
                         .arg(holding)
                         .toUtf8());
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void FakeTool::closeGate() const {
    QFile(m_folder + QStringLiteral("/gate")).open(QIODevice::WriteOnly);
}

void FakeTool::openGate() const {
    QFile::remove(m_folder + QStringLiteral("/gate"));
}

int FakeTool::ticketsDrawn() const {
    return static_cast<int>(QDir(m_folder + QStringLiteral("/tickets"))
                                .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                                .size());
}

bool FakeTool::isHolding() const {
    return QFile::exists(m_folder + QStringLiteral("/held"));
}

std::vector<pid_t> FakeTool::processes() const {
    QFile file(m_folder + QStringLiteral("/pids"));
    std::vector<pid_t> pids;
    if (!file.open(QIODevice::ReadOnly))
        return pids;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (const int pid = line.toInt(); pid > 0)
            pids.push_back(pid);
    }
    return pids;
}

int FakeTool::aliveCount() const {
    const std::vector<pid_t> pids = processes();
    return static_cast<int>(std::count_if(pids.begin(), pids.end(), isAlive));
}

} // namespace KVTest
