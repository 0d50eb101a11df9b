#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "receiver/Retimer_RX_RT.hpp"

namespace {

std::string NameOf(const Connection::End& end)
{
    return end.Index < 0 ? end.Name : std::string(end.Name) + " #" + std::to_string(end.Index);
}

// That no port is without a store shows when every block is fired, in ShortcutsTest: it would end
// in the assertion "m_pBuffer".
TEST(Netlist, HasEveryStoreOnceAndWiresNoPortTwice)
{
    const auto rx = std::make_unique<Retimer_RX_RT>();
    Netlist net;
    ASSERT_TRUE(rx->Setup());
    ASSERT_TRUE(net.Make([&](Netlist& wiring) { rx->Describe(wiring); }));
    size_t iDoubles = 0, iInts = 0, iPairs = 0, iInitial = 0, iRead = 0;
    std::map<const Vantor::CircularBufferBase*, std::string> wired;
    for (const Connection& c : net) {
        iDoubles += c.IsDouble && c.Tokens == 1;
        iInts += !c.IsDouble && c.Tokens == 1;
        iPairs += !c.IsDouble && c.Tokens == 2;
        iInitial += c.InitialToken;
        iRead += c.Consumer.Buffer != nullptr;
        for (const Connection::End& end : {c.Producer, c.Consumer}) {
            if (!end.Buffer) continue;
            const auto [place, bNew] = wired.emplace(end.Buffer, NameOf(end));
            EXPECT_TRUE(bNew) << NameOf(end) << " is wired again as " << place->second;
        }
    }
    EXPECT_EQ(iDoubles, 199u);
    EXPECT_EQ(iInts, 110u);
    EXPECT_EQ(iPairs, 1u);
    EXPECT_EQ(iInitial, 8u);
    EXPECT_EQ(iRead, 177u);
}

}  // namespace
