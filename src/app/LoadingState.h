#pragma once

#include <QString>

namespace ambrel {

/// Progress of loading a file.
struct LoadingState {
    enum class Kind {
        idle,    ///< no file is loaded or being loaded
        loading, ///< in progress; see message
        loaded   ///< the file and its waveform are ready
    };

    Kind kind = Kind::idle;
    QString message; ///< shown to the user while loading; otherwise empty

    static LoadingState idle() { return {}; }
    static LoadingState loading(const QString& text) { return {Kind::loading, text}; }
    static LoadingState loaded() { return {Kind::loaded, {}}; }

    bool isIdle() const { return kind == Kind::idle; }
    bool isLoading() const { return kind == Kind::loading; }
    bool isLoaded() const { return kind == Kind::loaded; }

    bool operator==(const LoadingState&) const = default;
};

} // namespace ambrel
