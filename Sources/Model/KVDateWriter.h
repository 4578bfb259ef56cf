// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>

// The one place that runs the external tool on a photo file. The functions keep the shape of
// the C helpers they stand for (fixed buffers, status codes), and never write past a buffer:
// whatever does not fit is refused as a failure.

inline constexpr size_t kKVToolPathSize = 2048;
inline constexpr size_t kKVCommandLineSize = 2048;
inline constexpr size_t kKVOutputBufferSize = 2048;
// The captured text (command line, carriage return, first part of the output) never passes
// this many bytes; the terminator follows it.
inline constexpr size_t kKVCapturedTextLimit = 1023;
inline constexpr size_t kKVFilePathSize = 1024;

// Stores the absolute path of the tool (UTF-8, at most 2047 bytes kept). Set once at launch,
// read without locking afterwards.
void KVSetToolPath(const char *path);
const char *KVToolPath();

// Sets the six EXIF and XMP date tags of the file at path (native file-name bytes) to dateText
// ("yyyy:MM:dd HH:mm:ss") in place. echoOutput prints the captured text to standard error;
// restoreModificationDate puts the file's modification date back after the run as well as its
// creation date. Returns 0 on success; the runner's status cut to 16 bits otherwise (-1 when
// the tool could not be started or the path cannot be handed to it unchanged).
int16_t KVWriteDatesWithTool(const char *path, const char *dateText, int echoOutput,
                             int restoreModificationDate);

// Runs one command line, with the shell's quoting but without a shell, standard error merged
// into standard output. Returns the wait status (0 only for a normal exit with code 0), or -1
// when it could not be started. outputBuffer (at least kKVCapturedTextLimit + 1 bytes)
// receives the command line, a carriage return and the first part of the output, terminated;
// outputLength its length. Both may be null.
int KVRunShellCommand(const char *command, char *outputBuffer, int *outputLength);
// Ends command at cutAt (when that lies inside it), runs it as above and returns 0.
int KVRunShellCommandCut(char *command, int cutAt, char *outputBuffer, int *outputLength);

// Copies text into result with a backslash before every double quote, nothing else changed.
// False (and an empty result) when it does not fit into resultSize bytes.
bool KVEscapeQuotes(const char *text, char *result, size_t resultSize);

// The file's creation (birth) and modification dates in whole seconds since 1904-01-01 UTC;
// 0 where the file system keeps no such date. Returns 0, or the errno of the failed read.
int KVGetFileDates(const char *path, uint32_t *creation, uint32_t *modification);
// Sets the modification date when setModification is non-zero. Returns the status of reading
// the file's dates first, as KVGetFileDates; the write's own outcome is not reported.
int KVSetFileDates(const char *path, uint32_t creation, uint32_t modification, int setModification);

// The private folder of the copies the tool works on: $XDG_RUNTIME_DIR (or the temporary
// path) plus the bundle identifier.
QString KVTemporaryFolderPath();
// Creates that folder (0700) when it is missing and opens it. Returns a descriptor to close,
// or -1. *isForeign tells whether something is there that is not a directory of this user's
// own (a symbolic link included): never write into such a place.
int KVOpenTemporaryFolder(bool *isForeign = nullptr);
