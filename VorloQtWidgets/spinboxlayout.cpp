#include "spinboxlayout_p.h"

#include <QAbstractSpinBox>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSpinBox>

namespace VorloQtInternal
{
void layOutSpinBoxAndSlider(QWidget* owner, QAbstractSpinBox* spinBox, QSlider* slider)
{
    auto* layout = new QHBoxLayout(owner);
    layout->setMargin(0);
    layout->setContentsMargins(0, 1, 0, 1);

    QSizePolicy sliderPolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    sliderPolicy.setHorizontalStretch(10);
    slider->setOrientation(Qt::Horizontal);
    slider->setSizePolicy(sliderPolicy);

    QSizePolicy spinPolicy = spinBox->sizePolicy();
    spinPolicy.setHorizontalPolicy(QSizePolicy::Fixed);
    spinBox->setSizePolicy(spinPolicy);

    layout->addWidget(spinBox);
    layout->addWidget(slider);
    layout->addSpacing(4);
}

int twelveDigitSpinBoxWidth(QAbstractSpinBox* spinBox)
{
    QStyleOptionSpinBox option;
    option.initFrom(spinBox);
    option.subControls = QStyle::SC_SpinBoxUp | QStyle::SC_SpinBoxDown | QStyle::SC_SpinBoxFrame;
    const QFontMetrics metrics(spinBox->font());
    const QSize contents(metrics.horizontalAdvance(QStringLiteral("999999999999")), metrics.height());
    return spinBox->style()->sizeFromContents(QStyle::CT_SpinBox, &option, contents, spinBox).width();
}
} // namespace VorloQtInternal
