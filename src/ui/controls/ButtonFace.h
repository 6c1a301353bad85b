#pragma once

class QAbstractButton;
class QPainter;

namespace ambrel {

/// Paints the background of a borderless button: a shade under the pointer, darker while pressed,
/// and a focus ring. Turns antialiasing on.
void paintButtonFace(QPainter& painter, const QAbstractButton& button, double radius);

/// Makes a button repeat while held, after the desktop's usual delay.
void makeRepeating(QAbstractButton& button);

} // namespace ambrel
