#pragma once

#include <QString>

#include <memory>

#include "platform/audio/AudioOutput.h"

namespace halvenor {

/// The desktop's sound server: its default sink, or the one that setDevice() names. Connects at
/// open(). When the server goes away it is sought again, backing off, and the music goes on where
/// it was.
/// @param applicationName what the server's mixer shows
std::unique_ptr<AudioOutput> makeSystemOutput(const QString& applicationName);

/// Nothing to hear, in real time: for the self-test and for machines without sound.
std::unique_ptr<AudioOutput> makeSilentOutput(AudioFormat format = {44100, 2});

}  // namespace halvenor
