#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

#include "runtime/CircularBuffer.hpp"
#include "runtime/Fork.hpp"

/// One end of a connection: a port buffer, the expression that names it, and the value of the
/// index in that expression where the port is one of many.
template <class T>
struct Port
{
    Vantor::CircularBuffer<T>& Buffer;
    const char* Name;
    int Index = -1;
};
template <class T>
Port(Vantor::CircularBuffer<T>&, const char*) -> Port<T>;
template <class T>
Port(Vantor::CircularBuffer<T>&, const char*, int) -> Port<T>;

/// PORT(EqSelect.Output), PORT_OF(TapMpy[k].Output, k).
#define PORT(buffer) (Port{buffer, #buffer})
#define PORT_OF(buffer, index) (Port{buffer, #buffer, static_cast<int>(index)})

/// A connection of the network: one store of tokens that a producer writes and a consumer reads.
struct Connection
{
    struct End
    {
        Vantor::CircularBufferBase* Buffer = nullptr;
        const char* Name = nullptr;
        int Index = -1;
        size_t Start = 0;  ///< where in the store this end begins
    };
    End Producer;
    End Consumer;  ///< no buffer where nobody reads
    bool IsDouble = false;
    size_t Tokens = 1;
    bool InitialToken =
        false;  ///< a back edge: the consumer fires before the producer and reads 0 first
};

/// The wiring of the network as data. Ports of different types do not connect.
class Netlist
{
public:
    /// Takes the wiring from describe(netlist), which is called twice: there is room for as much as
    /// it counted the first time. False when memory has run out.
    template <class Description>
    bool Make(const Description& describe)
    {
        describe(*this);
        m_connections.reset(new (std::nothrow) Connection[m_iSize]);
        m_forks.reset(new (std::nothrow) ForkPorts[m_iForks]);
        if (!m_connections || !m_forks) return false;
        m_iSize = m_iForks = 0;
        describe(*this);
        return true;
    }

    /// A token written by the producer is read by the consumer in the same firing.
    template <class T>
    void Connect(const Port<T>& producer, const Port<T>& consumer)
    {
        Append<T>({EndAt(producer), EndAt(consumer)});
    }

    /// A back edge: the consumer fires first and reads the token of the firing before; at first 0.
    template <class T>
    void Feedback(const Port<T>& producer, const Port<T>& consumer)
    {
        Append<T>({EndAt(producer), EndAt(consumer), false, 1, true});
    }

    /// A delay of one firing: two tokens, producer and consumer one apart and both advanced.
    template <class T>
    void Delayed(const Port<T>& producer, const Port<T>& consumer)
    {
        Connection connection{EndAt(producer), EndAt(consumer), false, 2, true};
        connection.Producer.Start = 1;
        Append<T>(connection);
    }

    /// An output that nobody reads; its block still needs somewhere to write.
    template <class T>
    void Unread(const Port<T>& producer)
    {
        Append<T>({EndAt(producer), {}});
    }

    /// Tells that a block only copies its input to its outputs: their stores may then be one.
    template <class Buffer>
    void Copies(Vantor::Fork<Buffer>& fork)
    {
        if (m_forks) m_forks[m_iForks] = {&fork.Input, fork.Outputs.begin(), fork.Outputs.end()};
        ++m_iForks;
    }

    /// Where the tokens of this connection come from before any fork has copied them; the
    /// connection itself where there is no fork.
    const Connection& GetOrigin(const Connection& connection) const;

    size_t GetSize() const { return m_iSize; }
    const Connection* begin() const { return m_connections.get(); }
    const Connection* end() const { return begin() + m_iSize; }

private:
    template <class T>
    static Connection::End EndAt(const Port<T>& port)
    {
        return {&port.Buffer, port.Name, port.Index};
    }

    template <class T>
    void Append(Connection connection)
    {
        connection.IsDouble = std::is_same_v<T, double>;
        if (m_connections) m_connections[m_iSize] = connection;
        ++m_iSize;
    }

    /// A fork's input, and the array that its outputs stand in.
    struct ForkPorts
    {
        const Vantor::CircularBufferBase* Input;
        const Vantor::CircularBufferBase* FirstOutput;
        const Vantor::CircularBufferBase* EndOfOutputs;
    };

    std::unique_ptr<Connection[]> m_connections;  ///< none while they are counted
    size_t m_iSize = 0;
    std::unique_ptr<ForkPorts[]> m_forks;
    size_t m_iForks = 0;
};

/// The storage behind a netlist's connections, in one piece so that it stays close together.
class TokenStores
{
public:
    /// Gives every connection its tokens, all zero, and attaches both ends. With bShareForks the
    /// connections behind a fork stand on the store before it, so that the fork need not fire: the
    /// token is there already. False when memory has run out; nothing is attached then.
    bool Bind(const Netlist& netlist, bool bShareForks);

    /// Frees the tokens. The ports are not told.
    void Free();

    /// Number of stores that are held.
    size_t GetSize() const { return m_iStores; }

private:
    std::unique_ptr<std::byte[]> m_pMemory;
    size_t m_iStores = 0;
};
