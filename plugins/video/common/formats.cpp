#include "plugins/video/common/format.h"

namespace tov::plugins::video {

const std::vector<Format>& formats()
{
    // A GIF's pixels are there or not: those half covered and more are. It counts hundredths of a second, and players
    // take delays below two of them for something else.
    // The presets are those that keep up with capture on two cores; see the benchmarks.
    static const std::vector<Format> table = {
        {"mp4", "MPEG-4 video (H.264)", "mp4", "libx264", "yuv420p", false, true, true, nullptr, {{"preset", "veryfast"}}, {}},
        {"mov", "QuickTime video (H.264)", "mov", "libx264", "yuv420p", false, true, true, nullptr, {{"preset", "veryfast"}}, {}},
        {"mkv", "Matroska video (H.264)", "matroska", "libx264", "yuv420p", false, true, false, nullptr, {{"preset", "veryfast"}}, {{"cluster_time_limit", "1000"}}},
        {"hq.mp4", "MPEG-4 video, constant high quality (H.264)", "mp4", "libx264", "yuv420p", false, false, true, nullptr, {{"preset", "medium"}, {"crf", "16"}}, {}},
        {"hevc.mp4", "MPEG-4 video (HEVC)", "mp4", "libx265", "yuv420p", false, true, true, nullptr, {{"preset", "fast"}, {"x265-params", "log-level=error"}}, {}},
        {"av1.mkv", "Matroska video (AV1)", "matroska", "libaom-av1", "yuv420p", false, true, false, nullptr, {{"cpu-used", "8"}, {"usage", "realtime"}, {"row-mt", "1"}}, {{"cluster_time_limit", "1000"}}},
        {"webm", "WebM video (VP9)", "webm", "libvpx-vp9", "yuv420p", false, true, false, nullptr, {{"deadline", "good"}, {"cpu-used", "5"}, {"row-mt", "1"}}, {{"cluster_time_limit", "1000"}}},
        {"avi", "AVI video (Motion JPEG)", "avi", "mjpeg", "yuvj420p", false, false, false, nullptr, {{"qscale", "2"}, {"huffman", "optimal"}}, {}},
        {"gif", "Animated GIF with transparency", "gif", "gif", "pal8", true, false, false, "split[a][b];[a]palettegen=stats_mode=single:reserve_transparent=1[p];[b][p]paletteuse=new=1:dither=sierra2_4a:alpha_threshold=128", {}, {}, 50},
        {"apng", "Animated PNG with transparency", "apng", "apng", "rgba", true, false, false, nullptr, {}, {{"plays", "0"}}},
        {"alpha.webm", "WebM video with transparency (VP9)", "webm", "libvpx-vp9", "yuva420p", true, true, false, nullptr, {{"deadline", "good"}, {"cpu-used", "5"}, {"row-mt", "1"}, {"auto-alt-ref", "0"}}, {{"cluster_time_limit", "1000"}}},
        {"alpha.mov", "QuickTime video with transparency (ProRes 4444)", "mov", "prores_ks", "yuva444p10le", true, false, true, nullptr, {{"profile", "4444"}, {"alpha_bits", "16"}, {"vendor", "apl0"}}, {}},
        {"lossless.mkv", "Matroska video, lossless with transparency (FFV1)", "matroska", "ffv1", "bgra", true, false, false, nullptr, {{"level", "3"}, {"slices", "4"}, {"slicecrc", "1"}}, {{"cluster_time_limit", "1000"}}},
    };
    return table;
}

} // namespace tov::plugins::video
