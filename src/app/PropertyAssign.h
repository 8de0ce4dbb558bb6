#pragma once

namespace strataloom {

/// @brief Writes @p value into @p field of @p object and emits @p changed, only when it changes.
template<typename Object, typename T, typename Signal>
void assign(Object *object, T &field, const T &value, Signal changed)
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(object->*changed)();
}

} // namespace strataloom
