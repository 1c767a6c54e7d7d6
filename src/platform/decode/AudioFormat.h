#pragma once

namespace halvenor {

/// How samples lie in memory everywhere in the engine: 32-bit floats, interleaved, full scale ±1.
/// Channels stand in the order of WAVE files (left, right, centre, LFE, back left, ...).
struct AudioFormat {
    int sampleRate = 0;  ///< frames per second
    int channels = 0;    ///< samples in a frame

    bool operator==(const AudioFormat&) const = default;
};

}  // namespace halvenor
