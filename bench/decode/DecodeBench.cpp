// What it costs to open a file, to tell its length, and to decode it, beside the plainest loop
// that FFmpeg's own interface allows (probing open, every packet decoded, nothing trimmed or
// converted). The baseline for opening is that loop's open.

#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/decode/AudioFile.h"
#include "platform/decode/StreamInfo.h"
#include "platform/ffmpeg/FFmpeg.h"
#include "selftest/audiowriter/AudioWriter.h"

namespace halvenor {

namespace {

struct Kind {
    const char* name;
    AudioFileType type;
};
constexpr std::array kinds = {
    Kind{"wav", AudioFileType::wave16},     Kind{"aiff", AudioFileType::aiff16},
    Kind{"flac", AudioFileType::flac16},    Kind{"alac", AudioFileType::alac16},
    Kind{"aac.m4a", AudioFileType::aacMp4}, Kind{"adts", AudioFileType::aacAdts},
    Kind{"mp3", AudioFileType::mp3},        Kind{"vorbis", AudioFileType::vorbis}};

constexpr int seconds = 60;

/// One minute of stereo for each kind, made once; those that can have carry a cover of 300 kB.
const FileUrl& fileOf(size_t kind) {
    static const QTemporaryDir folder;
    static std::array<FileUrl, kinds.size()> files;
    FileUrl& url = files[kind];
    if (!url.isEmpty()) {
        return url;
    }
    std::vector<float> samples;
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> noise(-0.02f, 0.02f);
    for (int i = 0; i < seconds * 44100; ++i) {
        const auto tone = static_cast<float>(0.4 * std::sin(i * 0.03 + 2e-7 * i * double(i)));
        samples.push_back(tone + noise(random));
        samples.push_back(tone * 0.7f + noise(random));
    }
    AudioFileTags tags;
    tags.cover = QByteArray("\x89PNG\r\n\x1a\n") + QByteArray(300000, 'p');
    url = FileUrl(QFile::encodeName(folder.path())).appendingPathComponent(kinds[kind].name);
    writeAudioFile(url, kinds[kind].type, samples, 44100, 2, tags);
    return url;
}

/// The baseline: FFmpeg as its examples use it.
class PlainLoop {
  public:
    explicit PlainLoop(const FileUrl& url) {
        const AVCodec* codec = nullptr;
        if (ffmpeg::avformat_open_input(&format_, url.path().constData(), nullptr, nullptr) < 0 ||
            ffmpeg::avformat_find_stream_info(format_, nullptr) < 0) {
            throw std::runtime_error("can't open");
        }
        stream_ = ffmpeg::av_find_best_stream(format_, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
        context_ = ffmpeg::avcodec_alloc_context3(codec);
        ffmpeg::avcodec_parameters_to_context(context_, format_->streams[stream_]->codecpar);
        ffmpeg::avcodec_open2(context_, codec, nullptr);
    }
    ~PlainLoop() {
        ffmpeg::avcodec_free_context(&context_);
        ffmpeg::avformat_close_input(&format_);
    }
    PlainLoop(const PlainLoop&) = delete;
    PlainLoop& operator=(const PlainLoop&) = delete;

    int64_t decodeAll() {
        AVPacket* packet = ffmpeg::av_packet_alloc();
        AVFrame* frame = ffmpeg::av_frame_alloc();
        int64_t frames = 0;
        while (ffmpeg::av_read_frame(format_, packet) >= 0) {
            if (packet->stream_index == stream_ &&
                ffmpeg::avcodec_send_packet(context_, packet) >= 0) {
                while (ffmpeg::avcodec_receive_frame(context_, frame) >= 0) {
                    frames += frame->nb_samples;
                }
            }
            ffmpeg::av_packet_unref(packet);
        }
        ffmpeg::av_frame_free(&frame);
        ffmpeg::av_packet_free(&packet);
        return frames;
    }

  private:
    AVFormatContext* format_ = nullptr;
    AVCodecContext* context_ = nullptr;
    int stream_ = -1;
};

void openOurs(benchmark::State& state, size_t kind) {
    const FileUrl& url = fileOf(kind);
    for (auto _ : state) {
        benchmark::DoNotOptimize(AudioFile::open(url)->length());
    }
}

void openPlain(benchmark::State& state, size_t kind) {
    for (auto _ : state) {
        const PlainLoop loop(fileOf(kind));
    }
}

void tellLength(benchmark::State& state, size_t kind) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(readStreamInfo(fileOf(kind)));
    }
}

void seekOurs(benchmark::State& state, size_t kind) {
    const auto file = AudioFile::open(fileOf(kind));
    std::minstd_rand random(3);
    std::uniform_int_distribution<int64_t> anywhere(0, file->length() - 2);
    std::array<float, 2> frame{};
    for (auto _ : state) {
        file->seek(anywhere(random));
        file->read(frame.data(), 1);
    }
}

/// Reports how many seconds of music are decoded in one.
void reportSpeed(benchmark::State& state) {
    state.counters["realtime"] = benchmark::Counter(
        seconds * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void decodeOurs(benchmark::State& state, size_t kind) {
    std::vector<float> samples(2 * 4096);
    for (auto _ : state) {
        const auto file = AudioFile::open(fileOf(kind));
        while (file->read(samples.data(), 4096) > 0) {
        }
    }
    reportSpeed(state);
}

void decodePlain(benchmark::State& state, size_t kind) {
    for (auto _ : state) {
        PlainLoop loop(fileOf(kind));
        benchmark::DoNotOptimize(loop.decodeAll());
    }
    reportSpeed(state);
}

}  // namespace

}  // namespace halvenor

int main(int argc, char** argv) {
    using namespace halvenor;
    benchmark::Initialize(&argc, argv);
    ffmpeg::load();
    for (size_t kind = 0; kind < kinds.size(); ++kind) {
        const std::string name = kinds[kind].name;
        const auto add = [&](const char* what, void (*run)(benchmark::State&, size_t)) {
            benchmark::RegisterBenchmark((what + ("/" + name)).c_str(), run, kind)
                ->Unit(benchmark::kMicrosecond);
        };
        add("open", openOurs);
        add("open-baseline", openPlain);
        add("length", tellLength);
        add("seek", seekOurs);
        add("decode", decodeOurs);
        add("decode-baseline", decodePlain);
    }
    benchmark::RunSpecifiedBenchmarks();
}
