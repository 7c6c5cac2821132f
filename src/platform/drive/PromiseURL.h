#pragma once

#include <QUrl>

// The promise calls: how a promised item's logical URL (`Folder/Name.ext`, what the user sees)
// and its physical URL (`Folder/.Name.ext.promise`, the placeholder) relate.

/// The URL names a promised item: its placeholder, or the logical URL of an item that exists
/// only as a placeholder.
bool IsItemPromiseAtURL(const QUrl &url);
/// The logical URL of a placeholder's item; any other URL is returned as it is.
QUrl CopyLogicalURLOfPromiseAtURL(const QUrl &url);
/// The placeholder's URL for the logical URL of a promised item; for any other item, the URL
/// itself (so that comparing the two tells whether the item is a promise).
QUrl PromiseCopyPhysicalURL(const QUrl &url);
/// Whether `physicalURL` is the placeholder of `logicalURL`: the placeholder's location is
/// always derived from the item's, so there is nothing to record.
bool PromiseSetPhysicalURL(const QUrl &logicalURL, const QUrl &physicalURL);
