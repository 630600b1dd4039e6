#pragma once

// Sets a published field and announces it through the owner's change signal, only when the
// value differs: views redraw on every emission, so an unchanged value must stay silent.
template<typename Owner, typename T, typename Signal>
void publish(Owner *owner, T &field, const T &value, Signal signal)
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(owner->*signal)();
}
