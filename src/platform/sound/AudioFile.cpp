#include "platform/sound/AudioFile.h"

#include "platform/sound/DecodedAudioFile.h"

namespace ambrel {

std::shared_ptr<AudioFile> AudioFile::open(const std::filesystem::path& path, Layout layout) {
    // What the libraries have to say about a file goes into no one's terminal.
    static const bool silenced = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    static_cast<void>(silenced);
    return std::make_shared<DecodedAudioFile>(path, layout);
}

} // namespace ambrel
