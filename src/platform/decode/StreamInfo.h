#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "base/FileUrl.h"
#include "platform/decode/AudioFormat.h"
#include "platform/decode/ByteSource.h"

namespace halvenor {

/// What the headers of a file tell of its first audio stream.
struct StreamInfo {
    AudioFormat format;
    /// Length in frames at format.sampleRate, with encoder delay and padding taken off: the very
    /// number that AudioFile::length() gives for the file.
    int64_t frames = 0;
    /// Whether `frames` is what a decoder will give, and not what the headers can only estimate.
    bool isExact = false;
    /// Mean data rate of the audio stream alone (no tags, no covers) in bits per second; 0 unknown.
    double dataRate = 0;
};

/// Reads StreamInfo without decoding and without probing: the container is told from its first
/// bytes (past an ID3v2 tag), never from the file's name. Absent when no audio is recognised or
/// the file can't be read. Any thread; touches the disk.
std::optional<StreamInfo> readStreamInfo(const FileUrl& url);
/// The same for a file that is open already.
std::optional<StreamInfo> readStreamInfo(const std::shared_ptr<ByteSource>& bytes);

}  // namespace halvenor
