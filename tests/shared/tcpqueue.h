#ifndef MORVEK_TESTS_TCPQUEUE_H
#define MORVEK_TESTS_TCPQUEUE_H

#include <QtGlobal>

namespace Morvek::Tests {

/**
 * How many bytes a server on this machine has sent that its clients have not read yet.
 *
 * When it is 0, what is sent next will be a read of its own. It may take a moment to become 0 after
 * the last byte was read.
 */
qint64 unreadBytes(quint16 nServerPort);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_TCPQUEUE_H
