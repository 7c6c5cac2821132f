#pragma once

#include <QString>

/// The app's companion programs (`aerovadrive-ctl`, `aerovadrive-syncd`): installed beside the
/// running program, built in `tools/` beside `src/` in the build tree, else on PATH. An
/// environment variable may name another (tests).
class CompanionProgram final
{
public:
    CompanionProgram() = delete;

    /// The program's path; empty when it is nowhere.
    static QString find(const QString &name, const char *overrideVariable);
};
