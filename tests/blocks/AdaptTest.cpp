#include "blocks/Adapt.hpp"

#include "tests/TemporaryFolder.hpp"
#include "tests/runtime/Support.hpp"

namespace {

/// The block with its ports attached, fired as the eye monitor would have it.
struct Bench
{
    Bench(int iCTLEAdapt, int iDFEAdapt)
    {
        EXPECT_TRUE(adapt.Setup());
        adapt.CTLEAdapt = iCTLEAdapt;
        adapt.DFEAdapt = iDFEAdapt;
        Attach(adapt.Start, iStart, adapt.EyeReady, iReady, adapt.HEO, iHEO, adapt.VEO, iVEO,
               adapt.Range, iRange, adapt.RequestClear, iClear, adapt.EQLevel, iLevel,
               adapt.EyeRequest, iRequest, adapt.CTLEDone, iCTLEDone, adapt.DFEDone, iDFEDone);
        for (size_t i = 0; i < 5; ++i) Attach(adapt.Taps[i], taps[i]);
        EXPECT_TRUE(adapt.Initialize());
    }

    void Fire(int iNewStart, int iNewReady, int iNewClear)
    {
        iStart = iNewStart;
        iReady = iNewReady;
        iClear = iNewClear;
        EXPECT_TRUE(adapt.Run());
    }

    /// Starts, delivers the eyes (HEO/VEO/Range), and tells what comes of each: level, taps that
    /// are not 0, and the letters r, c, d for request, CTLE done, DFE done.
    std::string Answers(const std::string& eyes)
    {
        std::istringstream in(eyes);
        std::ostringstream answers;
        char cSlash;
        Fire(1, 0, 0);
        EXPECT_EQ(iRequest, adapt.CTLEAdapt == 1 || adapt.DFEAdapt == 1);
        while (in >> iHEO >> cSlash >> iVEO >> cSlash >> iRange) {
            Fire(0, 0, 0);
            Fire(0, 0, 1);
            EXPECT_EQ(iRequest, 0);
            Fire(0, 1, 1);  // no new edge of the clear: the request stays
            answers << iLevel;
            for (int i = 0; i < 5; ++i)
                if (taps[i] != 0) answers << 'C' << i + 1 << '=' << taps[i];
            answers << (iRequest ? "r" : "") << (iCTLEDone ? "c" : "") << (iDFEDone ? "d" : "")
                    << ' ';
        }
        return answers.str();
    }

    Adapt adapt;
    int iStart = 0, iReady = 0, iHEO = 0, iVEO = 0, iRange = 0, iClear = 0;
    int iLevel = -77, iRequest = -77, iCTLEDone = -77, iDFEDone = -77, taps[5] = {};
};

TEST(Adapt, AnswersEachEyeWithTheNextSetting)
{
    std::string closed, rising, odd;
    for (int iLevel = 2; iLevel <= 30; iLevel += 2) {
        closed += "0/0/0 ";
        rising += std::to_string(iLevel) + "r ";
        odd += std::to_string(iLevel + 1) + "r ";
    }
    const struct
    {
        int iCTLEAdapt, iDFEAdapt;
        std::string eyes, answers;
    } table[] = {
        {0, 0, "6/0/0 20/5/0 9/9/0", "0r 0 0 "},  // nothing to adapt
        // Lock, then the optimum of an eye that its height limits.
        {1, 0, "0/9/0 5/9/0 6/9/0 6/2/0 6/3/0 6/2/0 9/9/0", "2r 4r 4r 5r 6r 5rc 5c "},
        {1, 0, "6/0/0 20/5/0 21/5/0 12/5/1 30/4/2", "0r 1r 2r 3r 2rc "},
        {1, 0, "6/0/0 20/5/0 20/5/0", "0r 1r 0rc "},
        {1, 0, "6/0/0 6/0/-1", "0r -1rc "},  // no merit at all: below level 0
        // An eye that its width limits; as good but narrower; wider but of less merit.
        {1, 0, "6/0/0 10/20/0 12/20/0 12/21/0 12/21/0", "0r 1r 2r 3r 2rc "},
        {1, 0, "6/0/0 12/20/0 6/30/1", "0r 1r 0rc "},
        {1, 0, "6/0/0 9/11/0 10/10/0 11/9/0", "0r 1r 2r 1rc "},  // square: its width still
        {1, 0, "6/0/0 12/20/1 13/30/0", "0r 1r 0rc "},
        // The eye closes on the way to the optimum, and is the reference when that goes on.
        {1, 0, "6/0/0 3/9/9 5/0/0 6/0/0 4/1/0 3/0/0 9/0/0 9/0/0", "0r 1r 3r 3r 2rc 3rc 3rc 3c "},
        // Locked or not, level 30 is the last to try; the optimum stops at level 31.
        {1, 0, closed + "0/0/0 3/0/0 4/1/0 4/2/0", rising + "30r 30r 31r 31rc "},
        {1, 0, closed + "0/0/0 3/0/0 4/1/0 4/0/0", rising + "30r 30r 31r 31rc "},
        {1, 0, "6/0/0 3/0/0 " + closed + "5/0/0", "0r 1r " + odd + "31r "},
        // The feedback taps, by height, then by merit; up, tied and down.
        {0, 1,
         "6/0/0 20/10/0 20/11/0 20/11/0 20/11/0 20/9/0 20/10/0 20/10/0 20/10/0 20/10/0 20/10/0",
         "0C1=1r 0C1=2r 0C1=3r 0C1=2C2=1r 0C1=2C3=1r 0C1=2r 0C1=2C3=-1r 0C1=2C4=1r 0C1=2C5=1r "
         "0C1=2rd 0C1=2d "},
        {0, 1,
         "6/0/0 10/20/0 10/21/0 9/40/0 10/20/0 5/30/1 5/30/1 40/5/1 41/5/1 41/5/0 40/5/1 41/5/1",
         "0C1=1r 0C1=2r 0C1=3r 0C1=2C2=1r 0C1=2r 0C1=2C2=-1r 0C1=2C3=1r 0C1=2r 0C1=2C3=-1r "
         "0C1=2C4=1r 0C1=2r 0C1=2C4=-1r "},
        // Lock lost later: what is done stays done; without a CTLE phase the first tap restarts.
        {1, 1, "6/0/0 6/2/0 6/1/0 6/2/0 3/0/0 6/0/0 6/9/0",
         "0r 1r 0C1=1rc 0C2=1rc 1C2=1rc 1C2=1rc 1C2=2rc "},
        {0, 1, "6/0/0 9/9/0 3/0/0 6/0/0", "0C1=1r 0C1=2r 1C1=2r 1C1=1r "},
    };
    const TemporaryFolder folder;
    for (const auto& row : table)
        EXPECT_EQ(Bench(row.iCTLEAdapt, row.iDFEAdapt).Answers(row.eyes), row.answers) << row.eyes;
}

TEST(Adapt, LogsEachEyeAndPhase)
{
    const TemporaryFolder folder;
    std::ofstream("Adapt.txt", std::ios::binary) << "kept\n";
    Bench bench(1, 1);
    bench.Fire(2, 0, 0);
    EXPECT_EQ(FileText("Adapt.txt"), "kept\n");
    bench.Answers("6/1/0 6/2/0 6/1/0 6/3/0 6/2/0 6/3/0 6/3/0 6/3/0 7/9/3 6/3/0 6/3/0");
    EXPECT_EQ(FileText("Adapt.txt"),
              "kept\n"
              "Begin CTLE adapt till CDR lock \n"
              "EQ_level \t C1 \t C2 \t C3 \t C4 \t C5 \t HEO value \t VEO value \t Range \n"
              "0\t\t0 \t0 \t0 \t0 \t0 \t6 \t 1 \t 0\n"
              "End CTLE adapt till CDR lock \n"
              "Begin CTLE adapt till optimum \n"
              "0\t\t0 \t0 \t0 \t0 \t0 \t6 \t 2 \t 0\n"
              "1\t\t0 \t0 \t0 \t0 \t0 \t6 \t 1 \t 0\n"
              "End CTLE adapt till optimum \n"
              "Begin DFE adapt \n"
              "0\t\t1 \t0 \t0 \t0 \t0 \t6 \t 3 \t 0\n"
              "0\t\t2 \t0 \t0 \t0 \t0 \t6 \t 2 \t 0\n"
              "0\t\t1 \t1 \t0 \t0 \t0 \t6 \t 3 \t 0\n"
              "0\t\t1 \t0 \t1 \t0 \t0 \t6 \t 3 \t 0\n"
              "0\t\t1 \t0 \t0 \t1 \t0 \t6 \t 3 \t 0\n"
              "0\t\t1 \t0 \t0 \t0 \t1 \t7 \t 9 \t 3\n"
              "0\t\t1 \t0 \t0 \t0 \t2 \t6 \t 3 \t 0\n"
              "End DFE adapt \n"
              " Number of EYE computations = 10\n"
              "0\t\t1 \t0 \t0 \t0 \t1 \t6 \t 3 \t 0\n");
    std::filesystem::remove("Adapt.txt");
    EXPECT_TRUE(bench.adapt.Initialize());
    bench.Fire(0, 0, 0);
    EXPECT_TRUE(std::filesystem::is_empty("Adapt.txt"));
}

}  // namespace
