#include "tools/testpicture/ffmpegprocess.h"

namespace quorvale {

ProcessEnd runFFmpeg(const std::vector<std::string> &arguments, const ProcessInput &input)
{
    std::vector<std::string> command{"ffmpeg"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProcess(command, input);
}

const char *passthroughOption()
{
    static const bool hasNewName = runFFmpeg({"-v", "quiet", "-nostdin", "-f", "lavfi", "-i", "nullsrc=s=16x16:d=0.04",
                                              "-fps_mode", "passthrough", "-f", "null", "-"})
                                       .ok();
    return hasNewName ? "-fps_mode" : "-vsync";
}

} // namespace quorvale
