#include "platform/sound/AudioFile.h"

#include <new>

#include "platform/sound/file/DecodedAudioFile.h"

namespace ambrel {

std::shared_ptr<AudioFile> AudioFile::open(const std::filesystem::path& path, Layout layout) {
    // Keeps the libraries' messages about files off the terminal.
    static const bool silenced = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    static_cast<void>(silenced);
    using Reason = AudioFileError::Reason;
    try {
        return std::make_shared<DecodedAudioFile>(path, layout);
    } catch (const AudioFileError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw cannotOpen(path, Reason::unreadable, "there is not enough memory for it");
    } catch (const std::runtime_error& error) {
        throw cannotOpen(path, Reason::unreadable, error.what());
    } catch (const std::exception&) {
        throw cannotOpen(path, Reason::unreadable, "its sound cannot be decoded");
    }
}

} // namespace ambrel
