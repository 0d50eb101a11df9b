#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "model/Retimer_RX_RT.hpp"
#include "tests/TemporaryFolder.hpp"

namespace {

std::string NameOf(const Connection::End& end)
{
    return end.Index < 0 ? end.Name : std::string(end.Name) + " #" + std::to_string(end.Index);
}

class NetlistTest : public testing::Test
{
protected:
    NetlistTest()
    {
        EXPECT_TRUE(m_rx->Setup());
        m_rx->Describe(m_net);
    }

    TemporaryFolder m_folder;
    std::unique_ptr<Retimer_RX_RT> m_rx = std::make_unique<Retimer_RX_RT>();
    Netlist m_net;
};

TEST_F(NetlistTest, HasEveryStoreOnce)
{
    size_t iDoubles = 0, iInts = 0, iPairs = 0, iInitial = 0, iRead = 0;
    for (const Connection& c : m_net) {
        iDoubles += c.IsDouble && c.Tokens == 1;
        iInts += !c.IsDouble && c.Tokens == 1;
        iPairs += !c.IsDouble && c.Tokens == 2;
        iInitial += c.InitialToken;
        iRead += c.Consumer.Buffer != nullptr;
    }
    EXPECT_EQ(iDoubles, 199u);
    EXPECT_EQ(iInts, 110u);
    EXPECT_EQ(iPairs, 1u);
    EXPECT_EQ(iInitial, 8u);
    EXPECT_EQ(iRead, 177u);
}

TEST_F(NetlistTest, WiresNoPortTwice)
{
    std::map<const Vantor::CircularBufferBase*, std::string> wired;
    for (const Connection& c : m_net)
        for (const Connection::End& end : {c.Producer, c.Consumer})
            if (end.Buffer) {
                const auto [place, bNew] = wired.emplace(end.Buffer, NameOf(end));
                EXPECT_TRUE(bNew) << NameOf(end) << " is wired again as " << place->second;
            }
}

// Fires every block once: a port that the wiring forgot ends in the assertion "m_pBuffer".
TEST_F(NetlistTest, WiresEveryPort)
{
    double in[1] = {0.1}, out[1] = {}, clock[1] = {};
    m_rx->FireEverything = true;
    m_rx->WaveIn.SetBuffer(in, 1, 1, 0);
    m_rx->WaveOut.SetBuffer(out, 1, 1, 0);
    m_rx->ClockOut.SetBuffer(clock, 1, 1, 0);
    ASSERT_TRUE(m_rx->Setup());
    ASSERT_TRUE(m_rx->Initialize());
    EXPECT_EQ(m_rx->GetNumberOfStores(), 310u);
    EXPECT_TRUE(m_rx->Run());
    EXPECT_TRUE(m_rx->Finalize());
    EXPECT_EQ(m_rx->GetNumberOfStores(), 0u);
}

// The level's response is the one whose taps come out when an impulse goes in.
TEST_F(NetlistTest, PairsLevelsWithResponses)
{
    for (int iLevel = 0; iLevel < EqualiserBank::Responses; ++iLevel) {
        double in[1] = {1.0}, out[1] = {}, clock[1] = {};
        Retimer_RX_RT rx;
        rx.WaveIn.SetBuffer(in, 1, 1, 0);
        rx.WaveOut.SetBuffer(out, 1, 1, 0);
        rx.ClockOut.SetBuffer(clock, 1, 1, 0);
        rx.RX_Config = 2;
        rx.CTLEAdapt = 0;
        rx.EQ_Level = iLevel;
        ASSERT_TRUE(rx.Setup() && rx.Initialize());
        const auto& response = rx.Ctle.EqResponse[EqualiserBank::ResponseOfLevel[iLevel]];
        for (int i = 0; i < 100; ++i) {
            ASSERT_TRUE(rx.Run());
            ASSERT_EQ(out[0], response.Taps[i]) << "level " << iLevel << ", tap " << i;
            in[0] = 0.0;
        }
    }
}

}  // namespace
