// The fields of a small value type kept behind one pointer that stays null
// while they hold their defaults, so that an unused object costs a pointer and
// allocates nothing. Function templates over the owner's unique_ptr: they need
// the body's type complete, so only the owner's source file instantiates them.
#pragma once

#include <memory>

namespace tw::detail {

// Makes to a deep copy of from: null stays null, a body is assigned or made.
template <class Body, class Deleter>
void CopyBody(std::unique_ptr<Body, Deleter>& to, const std::unique_ptr<Body, Deleter>& from) {
    if (&to == &from) return;
    if (!from) {
        to.reset();
    } else if (to) {
        *to = *from;
    } else {
        to.reset(new Body(*from));
    }
}

// The fields, or a default body's when none was made.
template <class Body, class Deleter>
const Body& BodyOrDefaults(const std::unique_ptr<Body, Deleter>& body) {
    static const Body defaults;
    return body ? *body : defaults;
}

// The fields, made on the first change.
template <class Body, class Deleter>
Body& OwnBody(std::unique_ptr<Body, Deleter>& body) {
    if (!body) body.reset(new Body());
    return *body;
}

}  // namespace tw::detail
