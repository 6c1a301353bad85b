#include "platform/desktop/KeptText.h"

#include <algorithm>

namespace ambrel {
namespace {

constexpr std::size_t kLongestCharacter = 4; // bytes of UTF-8

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Bytes of the UTF-8 character that begins with this one.
std::size_t characterLength(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
}

std::string_view withoutTornBeginning(std::string_view text) {
    std::size_t torn = 0;
    while (torn < std::min(text.size(), kLongestCharacter - 1) && continuesCharacter(text[torn]))
        ++torn;
    return text.substr(torn);
}

std::string_view withoutTornEnd(std::string_view text) {
    for (std::size_t length = 1; length <= std::min(text.size(), kLongestCharacter); ++length) {
        const char byte = text[text.size() - length];
        if (continuesCharacter(byte))
            continue;
        if (characterLength(byte) > length)
            text.remove_suffix(length);
        break;
    }
    return text;
}

} // namespace

void KeptText::append(std::string_view text) {
    if (part_ == Part::beginning) {
        const std::size_t taken = std::min(text.size(), limitBytes_ - kept_.size());
        kept_ += text.substr(0, taken);
        isCut_ = isCut_ || taken < text.size();
        return;
    }
    kept_ += text;
    if (kept_.size() > 2 * limitBytes_) {
        kept_.erase(0, kept_.size() - limitBytes_);
        isCut_ = true;
    }
}

std::string KeptText::text() const {
    std::string_view text = kept_;
    if (part_ == Part::beginning)
        return std::string(isCut_ ? withoutTornEnd(text) : text);
    const bool isLonger = text.size() > limitBytes_;
    if (isLonger)
        text.remove_prefix(text.size() - limitBytes_);
    return std::string(isCut_ || isLonger ? withoutTornBeginning(text) : text);
}

} // namespace ambrel
