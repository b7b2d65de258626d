#include "media_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "failure.h"

namespace {

constexpr int kStreamBufferSize = 1 << 16;

FormatContext makeFormat(const Container& container) {
    AVFormatContext* context = nullptr;
    if (avformat_alloc_output_context2(&context, nullptr, container.muxer, nullptr) < 0) {
        throw Failure(
            fmt::format("the FFmpeg libraries of this machine cannot write {}", container.name));
    }
    return FormatContext(context);
}

Packet makePacket() {
    Packet packet(av_packet_alloc());
    if (packet == nullptr) {
        throw Failure("no memory for a packet");
    }
    return packet;
}

}  // namespace

MediaFile::MediaFile(const Container& container, const AVCodecContext& encoder,
                     RecordingTarget& target, Interruption& interruption)
    : container_(container),
      encoder_(encoder),
      target_(target),
      interruption_(interruption),
      stream_(avio_alloc_context(static_cast<unsigned char*>(av_malloc(kStreamBufferSize)),
                                 kStreamBufferSize, 1, this, nullptr, writeBytes,
                                 target.isFile() ? seekBytes : nullptr)),
      format_(makeFormat(container)),
      pending_(makePacket()) {
    AVStream* const stream = avformat_new_stream(format_.get(), nullptr);
    if (stream_ == nullptr || stream == nullptr ||
        avcodec_parameters_from_context(stream->codecpar, &encoder) < 0) {
        throw Failure("no memory for a recording");
    }
    stream->time_base = encoder.time_base;
    stream->avg_frame_rate = encoder.framerate;
    stream->sample_aspect_ratio = encoder.sample_aspect_ratio;
    format_->pb = stream_.get();
    format_->flags |= AVFMT_FLAG_CUSTOM_IO;
    format_->flush_packets = 1;
}

void MediaFile::write(AVPacket& packet) {
    showPendingUntil(packet.pts);
    av_packet_move_ref(pending_.get(), &packet);
}

void MediaFile::finish(std::int64_t end) {
    showPendingUntil(end);
    if (!begun_) {
        return;
    }
    const std::unique_lock<std::mutex> whole = deferral();
    check(av_write_trailer(format_.get()));
    if (const int error = target_.close(); error != 0) {
        throw Failure(fmt::format("cannot write {}: {}", target_.name(),
                                  std::generic_category().message(error)));
    }
}

void MediaFile::showPendingUntil(std::int64_t end) {
    if (pending_->data == nullptr) {
        return;
    }
    pending_->duration = std::max<std::int64_t>(end - pending_->pts, 1);
    const std::unique_lock<std::mutex> whole = deferral();
    begun_ ? put() : begin();
}

// Beyond the first packet, containers that gather packets decide themselves when to write them.
void MediaFile::begin() {
    writeError_ = target_.open();
    if (writeError_ != 0) {
        throw Failure(fmt::format("cannot write {}: {}", target_.name(),
                                  std::generic_category().message(writeError_)));
    }
    begun_ = true;
    FfmpegOptions options;
    for (const auto& [name, value] : container_.options) {
        options.set(name, value);
    }
    check(avformat_write_header(format_.get(), options.get()));
    put();
    check(av_write_frame(format_.get(), nullptr));
    whole_ = avio_tell(stream_.get());
}

void MediaFile::put() {
    const double begins = static_cast<double>(pending_->pts) * av_q2d(encoder_.time_base);
    const bool isFirst = whole_ == 0;
    av_packet_rescale_ts(pending_.get(), encoder_.time_base, format_->streams[0]->time_base);
    check(av_write_frame(format_.get(), pending_.get()));
    av_packet_unref(pending_.get());
    if (const std::int64_t end = avio_tell(stream_.get()); !isFirst && end > whole_) {
        whole_ = end;
        wholeSeconds_ = begins;
    }
}

void MediaFile::check(int result) {
    avio_flush(stream_.get());
    if (writeError_ != 0) {
        fail(std::generic_category().message(writeError_));
    }
    if (result < 0) {
        fail(ffmpegError(result));
    }
}

void MediaFile::fail(const std::string& reason) {
    std::string line = fmt::format("cannot write {}: {}", target_.name(), reason);
    if (target_.isFile() && whole_ == 0) {
        target_.remove();
    } else if (target_.isFile()) {
        target_.cutTo(whole_);
        line += fmt::format("; its first {:.1f} s can be played", wholeSeconds_);
    }
    throw Failure(line);
}

// Elsewhere a write takes as long as the reader likes.
std::unique_lock<std::mutex> MediaFile::deferral() const {
    return target_.isFile() ? interruption_.defer() : std::unique_lock<std::mutex>();
}

int MediaFile::writeBytes(void* self, std::uint8_t* bytes, int count) {
    MediaFile& file = *static_cast<MediaFile*>(self);
    if (file.writeError_ == 0) {
        file.writeError_ = file.target_.write({bytes, static_cast<std::size_t>(count)});
    }
    if (file.writeError_ != 0) {
        return AVERROR(file.writeError_);
    }
    file.position_ += count;
    file.size_ = std::max(file.size_, file.position_);
    return count;
}

std::int64_t MediaFile::seekBytes(void* self, std::int64_t offset, int whence) {
    MediaFile& file = *static_cast<MediaFile*>(self);
    if (whence == AVSEEK_SIZE) {
        return file.size_;
    }
    if (whence != SEEK_SET) {
        return AVERROR(EINVAL);
    }
    if (const int error = file.target_.seek(offset); error != 0) {
        return AVERROR(error);
    }
    file.position_ = offset;
    return offset;
}
