#pragma once

#include <QtGlobal>

/// What the network watcher reduces reachability to.
enum NetworkState : quint64 {
    NetworkStateUnknown = 0,
    NetworkStateNotConnected = 1,
    NetworkStateWiFi = 2,
    NetworkStateCellular = 3,
};
