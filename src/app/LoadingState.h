#pragma once

#include <QString>

namespace ambrel {

/// How far the loading of a file has come.
struct LoadingState {
    enum class Kind {
        idle,    ///< nothing loaded and nothing being loaded
        loading, ///< under way; message says what is being done
        loaded   ///< the file and its waveform are there
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
