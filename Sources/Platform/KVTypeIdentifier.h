// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

namespace KVTypeIdentifier {
// The file's type by its name: the MIME type of its extension, or, where the system knows the
// extension as nothing more than "application/octet-stream", "dyn." followed by the extension
// as written, like the platform's dynamic identifiers.
QString forPath(const QString &path);
// The type a bare extension maps to, by the same rule.
QString preferredIdentifierForExtension(const QString &extension);
} // namespace KVTypeIdentifier
