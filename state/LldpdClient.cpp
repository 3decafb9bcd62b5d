#include "state/LldpdClient.h"

#include "platform/zim/Trace.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace LldpSnmpd {

namespace {

// A query that lldpd does not answer within this time counts as a lost connection.
constexpr int replyTimeoutMs = 5000;

std::string connectError(const std::string& path, int error) {
    std::string text = "cannot connect to lldpd at " + path + ": " + std::strerror(error);
    if (error == EACCES || error == EPERM) {
        text += std::string(" (the socket belongs to group ") + lldpdSocketGroup +
                ": run lldp-snmpd as root or as a member of that group)";
    } else if (error == ENOENT || error == ECONNREFUSED) {
        text += " (is lldpd running?)";
    }
    return text;
}

} // namespace

bool LldpdError::connectionLost() const noexcept {
    switch (code_) {
    case LLDPCTL_ERR_EOF:
    case LLDPCTL_ERR_CANNOT_CONNECT:
    case LLDPCTL_ERR_CALLBACK_FAILURE:
    case LLDPCTL_ERR_FATAL:
    case LLDPCTL_ERR_INVALID_STATE:
        return true;
    default:
        return false;
    }
}

void forEachAtom(lldpctl_atom_t* list, const std::function<void(lldpctl_atom_t*)>& each) {
    if (!list) {
        return;
    }
    for (lldpctl_atom_iter_t* it = lldpctl_atom_iter(list); it;
         it = lldpctl_atom_iter_next(list, it)) {
        Atom value(lldpctl_atom_iter_value(list, it));
        if (value) {
            each(value.get());
        }
    }
}

std::string atomString(lldpctl_atom_t* atom, lldpctl_key_t key) {
    const char* s = lldpctl_atom_get_str(atom, key);
    return s ? std::string(s) : std::string();
}

std::string atomBuffer(lldpctl_atom_t* atom, lldpctl_key_t key) {
    size_t length = 0;
    const uint8_t* data = lldpctl_atom_get_buffer(atom, key, &length);
    return data ? std::string(reinterpret_cast<const char*>(data), length) : std::string();
}

long atomInt(lldpctl_atom_t* atom, lldpctl_key_t key, long otherwise) {
    if (!atom) {
        return otherwise;
    }
    // A missing value comes back as a negative number, sometimes the error code itself.
    const long value = lldpctl_atom_get_int(atom, key);
    if (value < 0 && lldpctl_last_error(lldpctl_atom_get_connection(atom)) != LLDPCTL_NO_ERROR) {
        return otherwise;
    }
    return value;
}

namespace {

// liblldpctl's own messages are meant for its developers: they go to the trace, not stderr.
void libraryLog(int severity, const char* message) {
    static const Zim::TraceHandle trace("LldpSnmpd");
    ZTRACE(trace, 1, "liblldpctl (" << severity << "): " << message);
}

} // namespace

LldpdConnection::LldpdConnection(std::string socketPath) : path_(std::move(socketPath)) {
    static const bool logRouted = (lldpctl_log_callback(libraryLog), true);
    (void)logRouted;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof address.sun_path) {
        throw LldpdError(LLDPCTL_ERR_CANNOT_CONNECT, connectError(path_, ENAMETOOLONG));
    }
    std::memcpy(address.sun_path, path_.c_str(), path_.size() + 1);
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0) {
        throw LldpdError(LLDPCTL_ERR_CANNOT_CONNECT, connectError(path_, errno));
    }
    if (connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        const int error = errno;
        close(fd_);
        throw LldpdError(LLDPCTL_ERR_CANNOT_CONNECT, connectError(path_, error));
    }
    conn_ = lldpctl_new_name(path_.c_str(), sendCallback, recvCallback, this);
    if (!conn_) {
        close(fd_);
        throw LldpdError(LLDPCTL_ERR_NOMEM, "liblldpctl: cannot allocate a connection");
    }
}

LldpdConnection::~LldpdConnection() {
    lldpctl_release(conn_);
    close(fd_);
}

Atom LldpdConnection::checked(lldpctl_atom_t* atom, const std::string& what) const {
    if (!atom) {
        fail(what);
    }
    return Atom(atom);
}

void LldpdConnection::fail(const std::string& what) const {
    const lldpctl_error_t code = lldpctl_last_error(conn_);
    throw LldpdError(code, what + ": " + lldpctl_strerror(code));
}

void LldpdConnection::watch(ChangeCallback callback) {
    onChange_ = std::move(callback);
    if (lldpctl_watch_callback2(conn_, changeCallback, this) < 0) {
        fail("lldpd at " + path_ + ": cannot watch neighbour changes");
    }
    // From here on the event loop says when there is something to read.
    fcntl(fd_, F_SETFL, fcntl(fd_, F_GETFL) | O_NONBLOCK);
}

void LldpdConnection::onReadable() {
    uint8_t buffer[65536];
    for (;;) {
        const ssize_t n = read(fd_, buffer, sizeof buffer);
        if (n == 0) {
            throw LldpdError(LLDPCTL_ERR_EOF, "lldpd closed the connection at " + path_);
        }
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                return;
            }
            throw LldpdError(LLDPCTL_ERR_CALLBACK_FAILURE,
                             "reading from lldpd at " + path_ + ": " + std::strerror(errno));
        }
        if (lldpctl_recv(conn_, buffer, static_cast<size_t>(n)) < 0) {
            fail("lldpd at " + path_ + ": bad notification");
        }
        // One call handles one notification; the rest waits in the connection's buffer.
        while (lldpctl_process_conn_buffer(conn_) == 0) {
        }
    }
}

ssize_t LldpdConnection::sendCallback(lldpctl_conn_t*, const uint8_t* data, size_t length,
                                      void* self) {
    const int fd = static_cast<LldpdConnection*>(self)->fd_;
    size_t sent = 0;
    while (sent < length) {
        const ssize_t n = send(fd, data + sent, length - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd p{fd, POLLOUT, 0};
            if (poll(&p, 1, replyTimeoutMs) <= 0) {
                return LLDPCTL_ERR_CALLBACK_FAILURE;
            }
            continue;
        }
        if (n <= 0) {
            return LLDPCTL_ERR_CALLBACK_FAILURE;
        }
        sent += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(sent);
}

// Only queries and the subscription read through here: they wait (boundedly) for lldpd's reply.
ssize_t LldpdConnection::recvCallback(lldpctl_conn_t*, const uint8_t* data, size_t length,
                                      void* self) {
    const int fd = static_cast<LldpdConnection*>(self)->fd_;
    for (;;) {
        pollfd p{fd, POLLIN, 0};
        const int ready = poll(&p, 1, replyTimeoutMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            return LLDPCTL_ERR_CALLBACK_FAILURE;
        }
        const ssize_t n = read(fd, const_cast<uint8_t*>(data), length);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (n == 0) {
            return LLDPCTL_ERR_EOF;
        }
        return n < 0 ? static_cast<ssize_t>(LLDPCTL_ERR_CALLBACK_FAILURE) : n;
    }
}

void LldpdConnection::changeCallback(lldpctl_change_t type, lldpctl_atom_t* interface,
                                     lldpctl_atom_t* neighbor, void* self) {
    auto* connection = static_cast<LldpdConnection*>(self);
    if (connection->onChange_) {
        connection->onChange_(type, interface, neighbor);
    }
}

} // namespace LldpSnmpd
