#pragma once

#include "sync/DavError.h"

class DavClient;

/// What a server does with the conditions the drive's writes rely on, asked once per account
/// with a test document in the hidden folder: written as new, written again over a version
/// it never had, then removed. A server that takes the second write ignores If-Match: an
/// edit made on another device while this one sends its own is overwritten there, not kept
/// as a conflict copy.
class ServerProbe final
{
public:
    enum class IfMatch { Unknown, Honoured, Ignored };

    /// Unknown, with `error` set, when the server did not let the question be asked.
    static IfMatch ifMatch(DavClient *client, DavError *error);

    /// The journal's words for an answer, and back.
    static QString toText(IfMatch answer);
    static IfMatch fromText(const QString &text);
};
