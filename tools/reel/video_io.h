// Video files: the interface to the readers and writers, which stand in a module of their own
// (reel_videos.so) because what they are built on is slow to load.
//
//   const video_module *videos = load_video_module();             // null after a report
//   video_reader *reader = nullptr;
//   video_info info;
//   std::string fault;
//   if (videos->open("shot.mp4", &reader, &info, &fault) != 0)
//       report("shot.mp4: %s", fault.c_str());
//   while (videos->read(reader, &picture, &fault) == video_got) ...
//   videos->close(reader);
//
// Pictures are as in image_io.h: words 0xAABBGGRR, rows bottom-up, alpha 0, display colours.
#pragma once

#include "tools/reel/image_io.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace reel {

struct video_reader; // of one open video, owned by the caller until close
struct video_writer; // of one video being made, owned by the caller until finish or discard

inline constexpr int video_got = 0;
inline constexpr int video_end = 1;
inline constexpr int video_failed = -1;

struct video_info {
    int width = 0;          // pixels, upright
    int height = 0;         // pixels, upright
    int rate_numerator = 0; // frames per second; 0 when the file does not tell
    int rate_denominator = 1;
    std::int64_t count = -1;    // frames, when the file tells; a guess from its duration otherwise
    bool count_is_sure = false; // the file holds exactly so many
    bool block_coded = false;   // packets are what cram.h turns into our own frames without loss
    std::string codec;          // "h264"
    std::string note;           // what the user should know, or nothing
};

// How a video is to be made.
struct video_settings {
    int width = 0; // pixels, multiples of 4
    int height = 0;
    int rate = 24;     // frames per second
    std::string codec; // "h264", "prores", "ffv1", "vp9", "cram"; empty: what the name's
                       // extension stands for (mp4 mov: h264, mkv: ffv1, webm: vp9, avi: cram)
};

// The module's procedures. What goes wrong is in *fault, one line without the file's name. A reader
// or writer is for one thread at a time.
struct video_module {
    // Opens a video's best picture stream. Its frames come one by one in the order in which they
    // are shown, whatever their times, upright, with display colours by what the file says of its
    // range and coefficients. Returns 0 or -1 (then there is no reader).
    //   path  of a file; "-" is standard input
    int (*open)(const char *path, video_reader **reader, video_info *info, std::string *fault);

    // Reads the next picture, whose size may change on the way. Returns video_got; video_end; or
    // video_failed when the frame is damaged or the file cut off.
    int (*read)(video_reader *reader, image_buffer *picture, std::string *fault);

    // Passes over the next picture without converting it. Results as read.
    int (*skip)(video_reader *reader, std::string *fault);

    // Reads the next packet of a block_coded video instead (not in turn with read and skip).
    // Results as read.
    int (*read_packet)(video_reader *reader, std::vector<std::uint8_t> *packet, std::string *fault);

    void (*close)(video_reader *reader);

    // Says whether a video of these settings can be written under this name, and fills in the
    // codec where there is none. Returns 0 or -1.
    int (*check_writer)(const char *path, video_settings *settings, std::string *fault);

    // Begins a video. Returns 0 or -1 (then there is no writer, perhaps part of a file).
    //   path      where it is written
    //   settings  its codec may be empty
    int (*create)(const char *path, const video_settings &settings, video_writer **writer,
                  std::string *fault);

    // Appends a picture of settings.width x settings.height words, rows bottom-up (not cram: its
    // packets are ours). 0 or -1.
    int (*write)(video_writer *writer, std::span<const std::uint32_t> words, std::string *fault);

    // Appends a packet that is already coded (cram only). 0 or -1.
    int (*write_packet)(video_writer *writer, std::span<const std::uint8_t> packet,
                        std::string *fault);

    // Completes the file and ends the writer, whatever the result. 0 or -1.
    int (*finish)(video_writer *writer, std::string *fault);

    // Ends the writer; what it wrote is of no use.
    void (*discard)(video_writer *writer);

    // Makes a picture of another size, by a filter that neither blurs nor rings much. May be
    // called by several threads at once. 0 or -1.
    int (*resize)(std::span<const std::uint32_t> words, int width, int height, int new_width,
                  int new_height, std::vector<std::uint32_t> *made, std::string *fault);
};

inline constexpr const char *video_module_symbol = "reel_video_module";
extern "C" {
using video_module_procedure = const video_module *();
}

// Loads the module, from where image_io.h's stands. The same pointer each time; null after a
// report.
[[nodiscard]] const video_module *load_video_module();

} // namespace reel
