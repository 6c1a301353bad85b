#pragma once

class QAbstractButton;
class QPainter;

namespace ambrel {

/// What a borderless button draws behind its content: a shade under the pointer, darker while it is
/// pressed, and a ring while it has the focus. Turns antialiasing on.
void paintButtonFace(QPainter& painter, const QAbstractButton& button, double radius);

} // namespace ambrel
