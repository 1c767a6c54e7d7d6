#pragma once

#include <QList>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

#include "platform/decode/AudioFile.h"

namespace halvenor {

/// Opens one and the same file anew at each call, on any thread; throws what it fails with.
using PeakSource = std::function<std::shared_ptr<AudioFile>()>;

/// Decodes the whole file and tells how loud it is over time (PeakBuckets).
///
/// The file is decoded in sections side by side where that gives the same values to the last bit,
/// and straight through otherwise. Memory: a decoder and a block of 8192 frames for each
/// thread, whatever the file's length. Blocks the calling thread until it is done.
///
/// The buckets divide the file's length. Where that was an estimate, they divide the frames that
/// the file really has. A file that ends before the length it is sure of leaves the rest silent.
/// @param count buckets, above 0
/// @param threads how many may decode at once, the calling one included
/// @return absent when the file can't be opened or has no frames
/// @throws Cancelled soon after `stop` was requested
std::optional<QList<float>> decodePeaks(const PeakSource& source, int count, int threads,
                                        const std::stop_token& stop = {});

}  // namespace halvenor
