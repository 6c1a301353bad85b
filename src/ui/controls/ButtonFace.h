#pragma once

class QAbstractButton;
class QPainter;

namespace ambrel {

/// What a borderless button draws behind its content: a shade under the pointer, darker while it is
/// pressed, and a ring while it has the focus. Turns antialiasing on.
void paintButtonFace(QPainter& painter, const QAbstractButton& button, double radius);

/// Lets a button act again and again while it is held, after the desktop's usual delay.
void makeRepeating(QAbstractButton& button);

} // namespace ambrel
