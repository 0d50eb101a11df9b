#include "receiver/Netlist.hpp"

#include <functional>
#include <new>

namespace {

/// Bytes of a store, whole multiples of a double.
size_t SizeOf(const Connection& connection)
{
    const size_t iBytes = connection.Tokens * (connection.IsDouble ? sizeof(double) : sizeof(int));
    return (iBytes + sizeof(double) - 1) / sizeof(double) * sizeof(double);
}

}  // namespace

const Connection& Netlist::GetOrigin(const Connection& connection) const
{
    const Vantor::CircularBufferBase* const pProducer = connection.Producer.Buffer;
    for (size_t i = 0; i < m_iForks; ++i) {
        const ForkPorts& fork = m_forks[i];
        const std::less<> before;
        if (before(pProducer, fork.FirstOutput) || !before(pProducer, fork.EndOfOutputs)) continue;
        for (const Connection& feeding : *this)
            if (feeding.Consumer.Buffer == fork.Input) return GetOrigin(feeding);
    }
    return connection;
}

bool TokenStores::Bind(const Netlist& netlist, bool bShareForks)
{
    Free();
    size_t iBytes = 0;
    for (const Connection& connection : netlist) iBytes += SizeOf(connection);
    m_pMemory.reset(new (std::nothrow) std::byte[iBytes]());
    if (!m_pMemory) return false;

    std::byte* pStore = m_pMemory.get();
    for (const Connection& connection : netlist) {
        for (const Connection::End& end : {connection.Producer, connection.Consumer})
            if (end.Buffer) end.Buffer->SetBuffer(pStore, connection.Tokens, 1, end.Start);
        if (connection.InitialToken) connection.Consumer.Buffer->Zero(0, 1, nullptr);
        pStore += SizeOf(connection);
    }
    for (const Connection& connection : netlist) {
        const Connection& origin = netlist.GetOrigin(connection);
        if (!bShareForks || &origin == &connection) continue;
        void* const pOrigin = origin.Producer.Buffer->GetBufferMemory();
        for (const Connection::End& end : {connection.Producer, connection.Consumer})
            if (end.Buffer) end.Buffer->SetBuffer(pOrigin, 1, 1, 0);
    }
    m_iStores = netlist.GetSize();
    return true;
}

void TokenStores::Free()
{
    m_pMemory.reset();
    m_iStores = 0;
}
