#include "ui/controls/StepperRow.h"

#include "ui/controls/ButtonFace.h"
#include "ui/controls/NumberField.h"
#include "ui/controls/PushButton.h"

namespace ambrel {

StepperRow::StepperRow(const QString& downName, NumberField* field, const QString& upName,
                       const std::function<void(int direction)>& step, QWidget* parent)
    : ControlRow(6, parent) {
    const auto makeButton = [&](Symbol symbol, const QString& name, int direction) {
        auto* button = new PushButton(symbol, name);
        makeRepeating(*button);
        connect(button, &PushButton::clicked, this, [step, direction] { step(direction); });
        return button;
    };
    add(makeButton(Symbol::minus, downName, -1));
    add(field);
    add(makeButton(Symbol::plus, upName, 1));
    addStretch();
}

} // namespace ambrel
