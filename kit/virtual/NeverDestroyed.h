#pragma once

namespace qxkit {

// What a static object of this type holds outlives the destructors of global objects.
template <class Value>
union NeverDestroyed {
    NeverDestroyed() : value() {}
    ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    Value value;
};

}  // namespace qxkit
