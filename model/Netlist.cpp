#include "model/Netlist.hpp"

#include <new>

namespace {

/// Bytes of a store, whole multiples of a double.
size_t SizeOf(const Connection& connection)
{
    const size_t iBytes = connection.Tokens * (connection.IsDouble ? sizeof(double) : sizeof(int));
    return (iBytes + sizeof(double) - 1) / sizeof(double) * sizeof(double);
}

}  // namespace

bool TokenStores::Bind(const Netlist& netlist)
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
    m_iStores = netlist.GetSize();
    return true;
}

void TokenStores::Free()
{
    m_pMemory.reset();
    m_iStores = 0;
}
