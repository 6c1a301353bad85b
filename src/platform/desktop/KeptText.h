#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ambrel {

/// Output of a program up to a limit: its beginning or its end, cut at a whole UTF-8 character.
class KeptText {
  public:
    enum class Part { beginning, end };

    KeptText(Part part, std::size_t limitBytes) : part_(part), limitBytes_(limitBytes) {}

    void append(std::string_view text);

    std::string text() const;

  private:
    Part part_;
    std::size_t limitBytes_;
    bool isCut_ = false;
    std::string kept_; ///< when keeping the end, up to twice the limit, so that it is seldom moved
};

} // namespace ambrel
