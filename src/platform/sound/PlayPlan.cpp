#include "platform/sound/PlayPlan.h"

#include <algorithm>

namespace ambrel {

namespace {

/// What is left to follow once the first of its passes has its place.
std::optional<Continuation> withoutFirst(Continuation next) {
    if (next.passes == 1)
        return std::nullopt;
    if (next.passes != Continuation::unlimited)
        --next.passes;
    return next;
}

} // namespace

PlayPlan::PlayPlan(const Passes& first, const std::optional<Continuation>& next)
    : runs_{{0, PassCourse(first), first.pauseSeconds, std::nullopt}} {
    follow({0, first.end()}, next);
}

const PlayPlan::Run* PlayPlan::run(std::int64_t number) {
    const Run& last = runs_.back();
    if (number == last.number + 1 && last.then) {
        const Continuation& next = *last.then;
        const std::int64_t pass = last.course.passFrom(last.course.end());
        runs_.push_back(
            {number, PassCourse({0, next.startFrame, next.frameCount, 1, pass, next.pauseSeconds}),
             next.pauseSeconds, withoutFirst(next)});
    }
    const auto found = std::ranges::find(runs_, number, &Run::number);
    return found == runs_.end() ? nullptr : &*found;
}

void PlayPlan::forgetBefore(std::int64_t number) {
    while (runs_.size() > 1 && runs_.front().number < number)
        runs_.pop_front();
}

std::optional<PlayPlan::Boundary> PlayPlan::boundaryFrom(std::int64_t run,
                                                         std::int64_t frame) const {
    for (const Run& planned : runs_) {
        if (planned.number < run)
            continue;
        const std::int64_t from = planned.number == run ? frame : 0;
        const PassCourse& course = planned.course;
        if (from <= course.end())
            return Boundary{planned.number,
                            course.at(std::max<std::int64_t>(0, from - 1))
                                .boundaryAfter(std::max<std::int64_t>(0, from - 1))};
    }
    return std::nullopt;
}

bool PlayPlan::isSeamless(Boundary boundary) const {
    const auto found = std::ranges::find(runs_, boundary.run, &Run::number);
    return found != runs_.end() && found->course.from(boundary.frame) != nullptr;
}

void PlayPlan::follow(Boundary boundary, const std::optional<Continuation>& next) {
    while (runs_.back().number > boundary.run)
        runs_.pop_back();
    Run& run = runs_.back();
    run.then.reset();
    if (next && next->pauseSeconds <= 0) {
        run.course.follow(boundary.frame, *next);
        return;
    }
    run.course.endAt(boundary.frame);
    run.then = next;
}

} // namespace ambrel
