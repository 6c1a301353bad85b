#include "platform/sound/RunTimes.h"

#include <cmath>

namespace ambrel {

/// Not rounded, as a boundary need not lie on a device frame.
double RunTimes::exact(std::int64_t fileFrame) const noexcept {
    const auto frame = static_cast<double>(fileFrame);
    return rates_.equal() ? frame : frame / rates_.fileFramesPerFrame();
}

PassSpan RunTimes::span(const Passes& passes) const noexcept {
    return {exact(passes.begin), exact(passes.frameCount), passes};
}

PassSpan RunTimes::spanAt(const PassCourse& course, std::int64_t frame,
                          std::int64_t& until) const noexcept {
    const Passes& passes = course.at(rates_.toFile(frame));
    until = passes.end() >= PassCourse::open
                ? PassCourse::open
                : static_cast<std::int64_t>(std::ceil(exact(passes.end())));
    return span(passes);
}

RunEnd RunTimes::end(const PlayPlan::Run& run) const noexcept {
    RunEnd end{
        rates_.toDevice(run.course.end()), run.then.has_value(), {}, exact(run.course.end())};
    if (run.then)
        end.next = {run.course.passFrom(run.course.end()), run.then->startFrame,
                    run.then->frameCount, run.then->pauseSeconds};
    return end;
}

} // namespace ambrel
