#pragma once

// Layout shared by the spin box and slider composites. Not part of the public interface.

class QAbstractSpinBox;
class QSlider;
class QWidget;

namespace VorloQtInternal
{
// Spin box, then slider, then a spacing of 4, without margins but one pixel above and
// below. The slider takes the free width; the spin box keeps a fixed width.
void layOutSpinBoxAndSlider(QWidget* owner, QAbstractSpinBox* spinBox, QSlider* slider);

// Width of a spin box with buttons and frame whose text field holds twelve digits in its
// own font, so that every spin box has room for the largest values whatever its range.
int twelveDigitSpinBoxWidth(QAbstractSpinBox* spinBox);
} // namespace VorloQtInternal
