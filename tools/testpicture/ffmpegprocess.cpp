#include "tools/testpicture/ffmpegprocess.h"

namespace quorvale {

ProcessEnd runFFmpeg(const std::vector<std::string> &arguments, const ProcessInput &input)
{
    std::vector<std::string> command{"ffmpeg"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProcess(command, input);
}

} // namespace quorvale
