// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

// libFuzzer target over the photo reader: what an import does with one file (properties and
// thumbnail), with the file's name taken from the input's first byte, since the name decides
// which readers are tried. The input's first bytes, taken as a file name, must come back whole
// from the name's text.

#include "KVFileName.h"
#include "KVImageSource.h"
#include "KVParseDeadline.h"
#include "KVTypeIdentifier.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// A short limit: inputs that send a parser round a loop end quickly, and the fuzzer moves on.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    KVParseDeadline::setLimit(std::chrono::milliseconds(300));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1)
        return 0;
    const QByteArray fileName(reinterpret_cast<const char *>(data),
                              qsizetype(std::min<size_t>(size, 255)));
    if (KVFileName::encode(KVFileName::decode(fileName)) != fileName)
        std::abort();
    const QStringList &extensions = KVTypeIdentifier::photoExtensions();
    const QString name = QStringLiteral("input.") + extensions.at(data[0] % extensions.size());
    QByteArray bytes(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    if (auto source = KVImageSource::createWithData(std::move(bytes), name)) {
        source->copyPropertiesAtIndex0();
        source->createThumbnail(256);
    }
    return 0;
}
