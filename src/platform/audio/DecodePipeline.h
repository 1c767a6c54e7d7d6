#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "platform/audio/FormatConverter.h"
#include "platform/audio/OutputTimeline.h"
#include "platform/audio/PlayerNode.h"
#include "platform/audio/RenderStream.h"

namespace halvenor {

/// One scheduled file on its way through the decode thread.
struct ScheduleEntry {
    std::shared_ptr<AudioFile> file;
    int64_t startFrame = 0;
    /// In the file's frames; absent: to the file's end.
    std::optional<int64_t> frameCount;
    CompletionHandler handler;

    /// Output frames at which it begins and ends, as far as decoding has come. Numbers count from
    /// the node's start.
    std::optional<int64_t> begin = {};
    std::optional<int64_t> end = {};
    int sourceRate = 0;
};

/// Decodes a schedule into a RenderStream, joining its files.
///
/// Consecutive files of one format go through one converter that never hears of the join. Where the
/// format changes, what the old converter still holds is drained and cut or filled to end at the
/// output frame nearest to the true time (OutputTimeline). When the schedule runs out the converter
/// is kept (isTailHeld) until its owner knows that nothing follows. Decode thread.
class DecodePipeline {
  public:
    /// @param origin the frame number, counted from the node's start, of the stream's first frame
    DecodePipeline(std::shared_ptr<RenderStream> stream, AudioFormat format, int64_t origin);
    ~DecodePipeline();

    /// Decodes about `frames` output frames into the stream, which has them at once. Fewer when the
    /// ring is full or the schedule at its end.
    /// @return output frames published; what became known of entries is written into them
    int64_t feed(std::deque<ScheduleEntry>& schedule, int64_t frames);
    /// Whether feed() has something to do once there is room.
    bool hasWork(const std::deque<ScheduleEntry>& schedule) const;

    /// Whether frames of the last entry are still inside the converter.
    bool isTailHeld() const { return converter_ != nullptr && converter_->isResampling(); }
    /// Lets them out; feed() publishes them. The next entry starts a converter of its own.
    void releaseTail();

    /// The number of the next frame to publish.
    int64_t produced() const { return origin_ + stream_->written(); }

  private:
    ScheduleEntry* current(std::deque<ScheduleEntry>& schedule) const;
    /// @return whether the entry can be read now; otherwise a tail goes first
    bool begin(ScheduleEntry& entry);
    void setSourceFormat(AudioFormat format);
    void finish(ScheduleEntry& entry);
    int64_t readInto(ScheduleEntry& entry, float* samples, int64_t frames);
    int64_t publishConverted(int64_t frames);
    int64_t readDirectly(ScheduleEntry& entry, int64_t frames);

    const std::shared_ptr<RenderStream> stream_;
    const AudioFormat format_;
    const int64_t origin_;
    OutputTimeline timeline_;

    std::optional<AudioFormat> sourceFormat_;
    /// Null while samples pass untouched.
    std::unique_ptr<FormatConverter> converter_;
    std::vector<float> input_;
    /// Output frames that wait for room, from convertedAt_ (a sample index) on.
    std::vector<float> converted_;
    size_t convertedAt_ = 0;
    /// Frames of the present entry still to be read; absent: all there are.
    std::optional<int64_t> remaining_;
};

}  // namespace halvenor
