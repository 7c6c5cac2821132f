#pragma once

#include <QUrl>

// Access to items outside the app's own reach. Linux has no per-item sandbox grants: every item
// of the drive is reachable by the user's processes, so access is never started and there is
// never anything to stop. The calls stay so that code reads the same where a grant is needed.

/// Whether access had to be started (never, on Linux).
bool startAccessingSecurityScopedResource(const QUrl &url);
void stopAccessingSecurityScopedResource(const QUrl &url);
