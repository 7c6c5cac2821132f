#pragma once

/// The drive service's side of changes made while the app runs: another process (the control
/// program, a sync, a second app) rewrites the service's files, and the app hears of it as
/// notifications of the default centre:
///
///     account.json  UbiquityIdentityDidChange           (sign-in, sign-out, another account)
///     kvstore.json  UbiquitousKeyValueStoreDidChangeExternally (posted by the store once reloaded)
///     offer.json    DriveServiceOfferDidChange
///     network       DriveServiceNetworkDidChange
///
/// The notifications are posted on the monitor's own queue, "com.quillmere.AerovaDrive.service".
class DriveServiceMonitor final
{
public:
    DriveServiceMonitor() = delete;

    /// Starts watching, once per process; later calls do nothing. Returns once the watch is in
    /// place, so a change made after this call is never missed.
    static void ensureStarted();
    /// Looks at the service's files now and returns once every change found, and every change
    /// already noticed, has been posted.
    static void flush();
};
