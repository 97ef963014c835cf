// Readers are started through restartRead() alone: QThread's own start is hidden from their users.

#include <pixmapreader_p.h>

#include <type_traits>
#include <utility>

using Morvek::EchoVideo::Internal::LocalUSBReader;
using Morvek::EchoVideo::Internal::Reader;

namespace {

template <typename Thread, typename = void>
constexpr bool isStartPublic = false;
template <typename Thread>
constexpr bool isStartPublic<Thread, std::void_t<decltype(std::declval<Thread &>().start())>> =
    true;

template <typename Thread, typename = void>
constexpr bool isTaskPublic = false;
template <typename Thread>
constexpr bool isTaskPublic<Thread, std::void_t<decltype(std::declval<Thread &>().readTask())>> =
    true;

template <typename Thread, typename = void>
constexpr bool isStopPublic = false;
template <typename Thread>
constexpr bool isStopPublic<Thread, std::void_t<decltype(std::declval<Thread &>().stopRead())>> =
    true;

static_assert(isStartPublic<QThread>);
static_assert(!isStartPublic<Reader>);
static_assert(!isStartPublic<LocalUSBReader>);
static_assert(isStopPublic<Reader>);
static_assert(!isTaskPublic<Reader>);
static_assert(!isTaskPublic<LocalUSBReader>);

} // namespace
