#include <algorithm>
#include <gmock/gmock.h>
#include <random>
#include <thread>
#include <vector>

#include "platform/audio/GainCurve.h"
#include "platform/audio/RenderStream.h"

using namespace halvenor;

namespace {

constexpr AudioFormat format{1000, 1};

float valueOf(int64_t frame) {
    return static_cast<float>(frame % 65521);
}

}  // namespace

// One thread writes, one reads and now and then takes back: every frame must arrive, in order,
// with what was taken back repeated exactly. Under ThreadSanitizer this also checks the ordering.
TEST(RenderStream, KeepsFramesBetweenTwoThreads) {
    constexpr int64_t total = 400'000;
    auto signal = std::make_shared<WakeSignal>();
    RenderStream stream(format, 1.0F, signal);
    std::thread writer([&] {
        int64_t frame = 0;
        while (frame < total) {
            const auto [samples, frames] = stream.room();
            if (frames == 0) {
                stream.armRefill();
                if (!stream.isLow()) {
                    signal->wait(std::nullopt);
                }
                continue;
            }
            const int64_t count = std::min(frames, total - frame);
            for (int64_t i = 0; i < count; ++i) {
                samples[i] = valueOf(frame + i);
            }
            stream.publish(count);
            frame += count;
        }
    });
    std::minstd_rand random(1);
    std::vector<float> buffer(3000);
    int64_t position = 0;
    int64_t mismatches = 0;
    while (position < total) {
        const int64_t got = stream.render(buffer.data(), 1 + static_cast<int64_t>(random() % 2999));
        for (int64_t i = 0; i < got; ++i) {
            mismatches += buffer[i] != valueOf(position + i);
        }
        position += got;
        if (random() % 4 == 0) {
            position -= stream.rewind(static_cast<int64_t>(random() % 6000));
        }
    }
    writer.join();
    EXPECT_EQ(mismatches, 0);
}

TEST(RenderStream, TakesBackNoMoreThanItsHistory) {
    RenderStream stream(format, 1.0F, std::make_shared<WakeSignal>());
    std::vector<float> buffer(8000);
    EXPECT_EQ(stream.rewind(10), 0);
    const auto pass = [&](int64_t frames) {
        while (frames > 0) {
            const int64_t count = std::min(frames, stream.room().frames);
            stream.publish(count);
            stream.render(buffer.data(), count);
            frames -= count;
        }
    };
    pass(100);
    EXPECT_EQ(stream.rewind(1000), 100);
    stream.render(buffer.data(), 100);
    pass(20000);
    const int64_t history = int64_t{RenderStream::historySeconds} * format.sampleRate;
    EXPECT_EQ(stream.rewind(1000), 1000);
    EXPECT_EQ(stream.rewind(1'000'000), history - 1000) << "counted from the furthest place read";
    EXPECT_EQ(stream.rewind(1), 0);
}

TEST(GainCurve, KeepsItsCourseWhenFramesAreRenderedAgain) {
    GainCurve curve(1.0F, 100);
    std::vector<float> samples(1000, 1.0F);
    curve.apply(samples.data(), 0, 1000, 1, 0.0F);
    const std::vector<float> once = samples;
    EXPECT_FLOAT_EQ(once[50], 0.5F);
    EXPECT_EQ(once[100], 0.0F);

    // Another target from the middle of the ramp on: the new ramp begins where the old one stood.
    curve.rewind(50);
    std::fill(samples.begin(), samples.end(), 1.0F);
    curve.apply(samples.data(), 50, 950, 1, 1.0F);
    EXPECT_FLOAT_EQ(samples[0], once[50]);
    EXPECT_EQ(samples[100], 1.0F);

    // Back before both ramps, the first volume is still known.
    curve.rewind(0);
    EXPECT_EQ(curve.gainAt(0), 1.0F);
    // Many changes never lose the present course.
    for (int i = 0; i < 500; ++i) {
        curve.apply(samples.data(), 1000 + i, 1, 1, i % 2 == 0 ? 0.0F : 1.0F);
    }
    curve.apply(samples.data(), 1500, 500, 1, 0.5F);
    EXPECT_FLOAT_EQ(curve.gainAt(1999), 0.5F);
}
