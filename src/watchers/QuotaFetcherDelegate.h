#pragma once

#include <QObject>

class QuotaFetcher;

/// What a quota fetcher's delegate may implement. The operation is optional: the delegate is a
/// QObject, and one that does not declare this interface (Q_INTERFACES) is not told.
class QuotaFetcherDelegate
{
public:
    virtual ~QuotaFetcherDelegate() = default;

    /// The free bytes of the user's storage, after every successful fetch, on the main queue.
    virtual void quotaFetcher_didUpdateValue(QuotaFetcher *fetcher, quint64 freeBytes) = 0;
};

#define QuotaFetcherDelegate_iid "com.quillmere.AerovaDriveApp.QuotaFetcherDelegate"
Q_DECLARE_INTERFACE(QuotaFetcherDelegate, QuotaFetcherDelegate_iid)
