#pragma once

#include "base/FileUrl.h"
#include "platform/settings/SettingsValue.h"

namespace halvenor::settings {

using Values = Json::object_t;

/// The values of a store's file, and whether the file was one.
struct Contents {
    Values values;
    /// Something is at the place of the file that can't be read as settings.
    bool isDamaged = false;
};

/// Reads the file. A missing one has no values. Any thread.
Contents read(const FileUrl& file);

/// Replaces the file, atomically, making its folder (for this user alone) where it is missing.
/// @throws Error (io)
void write(const FileUrl& file, const Values& values);

}  // namespace halvenor::settings
