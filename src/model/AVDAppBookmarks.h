#pragma once

#include <QUrl>

// The drive's bookmark files and promise placeholders, turned into the URLs of the items they
// stand for. An empty URL means "nothing to resolve": callers then use the URL as it is.

/// The item a bookmark stands for (the logical URL when the target is a promise placeholder);
/// empty for a URL that is not a bookmark or whose target is gone.
QUrl avd_URLByResolvingBookmark(const QUrl &url);
/// The logical URL of a promised item, with the given physical URL attached to it; empty for a
/// URL that is not a promise.
QUrl avd_URLByResolvingPromise(const QUrl &url);
