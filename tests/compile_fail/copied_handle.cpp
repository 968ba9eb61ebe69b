// A context has one handle: a handle is moved and never copied.
// g++: use of deleted function 'foundation::tav::management::Context<Scope>::Context(const
// clang++: to 'management::Context<scope::Zarn>' uses deleted function

#include <foundation/tav/context.h>
#include <utility>

using namespace foundation::tav;

management::Context<scope::Zarn> second(management::Context<scope::Zarn>& first) {
#ifdef MISUSE
    return management::Context<scope::Zarn>(first);
#else
    return management::Context<scope::Zarn>(std::move(first));
#endif
}
