#pragma once

#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/audio/AudioEngine.h"
#include "platform/audio/PlayerNode.h"
#include "support/ManualOutput.h"
#include "support/MemoryFile.h"
#include "support/Samples.h"

namespace halvenor::test {

/// A node on an output pulled by hand, and a record of the handlers that it called.
struct NodeFixture {
    explicit NodeFixture(AudioFormat format = {44100, 2}) {
        auto made = std::make_unique<ManualOutput>(format);
        output = made.get();
        engine = std::make_unique<AudioEngine>(std::move(made), node);
    }

    void schedule(const std::shared_ptr<AudioFile>& file, const std::string& name = {}) {
        node.scheduleFile(file, handler(name));
    }
    void schedule(const std::vector<std::shared_ptr<MemoryFile>>& files) {
        for (const auto& file : files) {
            schedule(file);
        }
    }
    CompletionHandler handler(const std::string& name) {
        return [this, name](CompletionCallbackType type) {
            const std::scoped_lock lock(mutex);
            completed.push_back(type == CompletionCallbackType::dataPlayedBack ? name : "wrong");
        };
    }
    std::vector<std::string> completions() {
        node.waitUntilIdle();
        const std::scoped_lock lock(mutex);
        return completed;
    }
    void start() {
        engine->start();
        node.play();
        node.waitUntilIdle();
    }
    /// Plays in portions of `portion` frames until nothing more comes.
    void playToEnd(int64_t portion = 4096) {
        do {
            node.waitUntilIdle();
        } while (output->play(portion) > 0);
        // The node lets a resampler out when the end is near, so look once more after a pause.
        node.waitUntilIdle();
    }
    /// Plays to the end. All that was ever heard must be this, sample by sample.
    void expectHeard(const std::vector<float>& expected, int64_t portion = 4096) {
        playToEnd(portion);
        EXPECT_EQ(firstDifference(output->heard(), expected), -1);
    }

    std::mutex mutex;
    std::vector<std::string> completed;
    PlayerNode node;
    std::unique_ptr<AudioEngine> engine;
    ManualOutput* output = nullptr;
};

}  // namespace halvenor::test
