#pragma once
// A connection to lldpd's control socket through liblldpctl. The library leaves the I/O to its
// user: we open the Unix socket ourselves, so a failure to connect names the real reason, and a
// watching connection can be fed from the event loop without ever blocking it.
#include <lldpctl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace LldpSnmpd {

// The group that owns lldpd's control socket (mode 0660): lldp-snmpd must run in it.
inline constexpr const char* lldpdSocketGroup = "_lldpd";

class LldpdError : public std::runtime_error {
public:
    LldpdError(lldpctl_error_t code, const std::string& what)
        : std::runtime_error(what), code_(code) {}
    lldpctl_error_t code() const noexcept { return code_; }
    // The connection itself is gone (lldpd stopped, the socket closed); anything else concerns
    // one request only.
    bool connectionLost() const noexcept;

private:
    lldpctl_error_t code_;
};

struct AtomRelease {
    void operator()(lldpctl_atom_t* atom) const noexcept { lldpctl_atom_dec_ref(atom); }
};
// One counted reference to an atom, given back when the handle goes.
using Atom = std::unique_ptr<lldpctl_atom_t, AtomRelease>;

// Calls each(item) for every element of a list atom; a null list is empty.
void forEachAtom(lldpctl_atom_t* list, const std::function<void(lldpctl_atom_t*)>& each);

std::string atomString(lldpctl_atom_t* atom, lldpctl_key_t key);
std::string atomBuffer(lldpctl_atom_t* atom, lldpctl_key_t key);
long atomInt(lldpctl_atom_t* atom, lldpctl_key_t key, long otherwise = 0);

class LldpdConnection {
public:
    // Connects to the socket; throws LldpdError (LLDPCTL_ERR_CANNOT_CONNECT) whose text names the
    // socket, the system's reason and, for a refused permission, the group to be in.
    explicit LldpdConnection(std::string socketPath);
    ~LldpdConnection();
    LldpdConnection(const LldpdConnection&) = delete;
    LldpdConnection& operator=(const LldpdConnection&) = delete;

    lldpctl_conn_t* get() const noexcept { return conn_; }
    const std::string& socketPath() const noexcept { return path_; }
    int fd() const noexcept { return fd_; }

    // Throws LldpdError with the connection's last error when atom is null.
    Atom checked(lldpctl_atom_t* atom, const std::string& what) const;
    [[noreturn]] void fail(const std::string& what) const;

    // Turns the connection into a watching one: callback runs for every neighbour change, from
    // within onReadable(). Afterwards the connection runs no queries.
    using ChangeCallback =
        std::function<void(lldpctl_change_t, lldpctl_atom_t* interface, lldpctl_atom_t* neighbor)>;
    void watch(ChangeCallback callback);
    // Reads what lldpd sent and runs the change callback for each complete notification.
    // Throws LldpdError when the connection is lost.
    void onReadable();

private:
    static ssize_t sendCallback(lldpctl_conn_t*, const uint8_t* data, size_t length, void* self);
    static ssize_t recvCallback(lldpctl_conn_t*, const uint8_t* data, size_t length, void* self);
    static void changeCallback(lldpctl_change_t type, lldpctl_atom_t* interface,
                               lldpctl_atom_t* neighbor, void* self);

    std::string path_;
    int fd_ = -1;
    lldpctl_conn_t* conn_ = nullptr;
    ChangeCallback onChange_;
};

} // namespace LldpSnmpd
