#pragma once

#include <stop_token>

#include "model/scanner/DirectorySnapshot.h"

namespace halvenor {

/// One level of one folder: its sub-folders and, as skeletons, its tracks, each in natural order of
/// their names; names that are the same to a reader stay in the file system's order. Links and
/// hidden entries are left out. What can't be read is empty. Opens no file; the only call for each
/// track asks its size. Any thread.
/// @param token polled on the way: a listing that was stopped is empty
DirectorySnapshot listDirectory(const FileUrl& url, const std::stop_token& token = {});

}  // namespace halvenor
