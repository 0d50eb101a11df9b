#include "tests/ibis/rules/RuleCases.hpp"

namespace ibis {
namespace {

constexpr const char* kPulldownRows = R"(-3.3V  -132.0mA  -110.0mA  -165.0mA
 0.0V     0.0mA     0.0mA     0.0mA
 1.0V    40.0mA    33.3333mA  50.0mA
 2.0V    80.0mA    66.6667mA 100.0mA
 3.0V   120.0mA   100.0mA   150.0mA
 3.3V   132.0mA   110.0mA   165.0mA
 6.6V   264.0mA   220.0mA   330.0mA
)";
constexpr const char* kPullupRows = R"(-3.3V   132.0mA   110.0mA   165.0mA
 0.0V     0.0mA     0.0mA     0.0mA
 1.0V   -40.0mA   -33.3333mA -50.0mA
 2.0V   -80.0mA   -66.6667mA -100.0mA
 3.0V  -120.0mA  -100.0mA  -150.0mA
 3.3V  -132.0mA  -110.0mA  -165.0mA
 6.6V  -264.0mA  -220.0mA  -330.0mA
)";
constexpr const char* kGndClampRows = R"(-3.3V  -260.0mA  -240.0mA  -280.0mA
-0.7V     0.0mA     0.0mA     0.0mA
 3.3V     0.0mA     0.0mA     0.0mA
)";
constexpr const char* kPowerClampRows = R"(-3.3V   260.0mA   240.0mA   280.0mA
-0.7V     0.0mA     0.0mA     0.0mA
 0.0V     0.0mA     0.0mA     0.0mA
)";
constexpr const char* kFirst = "-3.3V  -132.0mA  -110.0mA  -165.0mA\n";
constexpr const char* kSecond = " 1.0V    40.0mA    33.3333mA  50.0mA\n";
constexpr const char* kLast = " 6.6V   264.0mA   220.0mA   330.0mA\n";

std::string ManyRows(int count)
{
    std::string rows;
    for (int i = 0; i < count; ++i) {
        rows += std::to_string(i) + "mV 0A 0A 0A\n";
    }
    return rows;
}

}  // namespace

std::vector<RuleCase> CurveCases()
{
    using enum Severity;
    return {
        {400, "I/O", {{kSecond, " 1.0V 40mA 50mA\n"}}, Error, "has 3 columns"},
        {400, "Input", {{kGndClampRows, "0V 0A 0A 0A\n"}}, Error, "has 1 row, expected"},
        {400, "Input", {{"[GND Clamp]\n", "[GND Clamp]\n 0V 0A 0A 0A 0A\n"}}, Error, "5 columns"},
        {401, "Input", {{kGndClampRows, ManyRows(101)}}, Error, "has 101 rows"},
        {402, "I/O", {{kSecond, " 2.5V 40mA 40mA 40mA\n"}}, Error, "back from 2.5 V to 2 V"},
        {402, "I/O", {{kSecond, kSecond + std::string(kSecond)}}, Warning, "repeats 1 V"},
        {403, "I/O", {{kFirst, "-3.3V NA -110mA -165mA\n"}}, Error, "in its first row"},
        {403, "I/O", {{kLast, "6.6V NA 220mA 330mA\n"}}, Error, "in its last row"},
        {404, "I/O", {{kLast, "6.6V 264mA 220mA NA\n"}}, Warning, "column max of [Pulldown]"},
        {406,
         "I/O",
         {{" 2.0V    80.0mA", " 2.0V    35.0mA"}},
         Warning,
         "driving low falls from 40 mA at 1 V to 35 mA at 2 V (typ)"},
        {406,
         "Open_source",
         {{" 1.0V   -40.0mA   -33.3333mA -50.0mA\n", " 1.0V -40mA -33mA -130mA\n"}},
         Warning,
         "driving high falls from -100 mA at 1.6 V"},
        {406,
         "Input",
         {{" 3.3V     0.0mA", " 1.0V 1mA 0A 0A\n 2.0V 0A 0A 0A\n 3.3V     0.0mA"}},
         Warning,
         "not driving falls from 1 mA at 1 V to 0 A at 2 V"},
        {407,
         "Open_drain",
         {{kLast, " 5.0V 100mA 150mA 200mA\n 6.6V 100mA 220mA 330mA\n"}},
         Note,
         "beyond its supplies"},
        {408,
         "I/O",
         {{"[Pulldown]", "[Pullup]"}, {"[Pullup]\n-3.3V   132", "[Pulldown]\n-3.3V   132"}},
         Warning,
         "[Pullup] of 'BUF' rises from 0 A at 0 V to 132 mA at 3.3 V (typ)"},
        {408,
         "Input",
         {{kPowerClampRows, "-3.3V 1.3mA NA NA\n0V 2.3mA NA NA\n"}},
         Warning,
         "[POWER Clamp] of 'BUF' rises from 1.3 mA at -3.3 V to 2.3 mA"},
        {408,
         "Output",
         {{"Model_type Output", "Model_type Output_ECL"}},
         Warning,
         "[Pulldown] of 'BUF' rises"},
        {409,
         "I/O",
         {{kPullupRows, "-3.3V -264mA NA NA\n 0V -132mA NA NA\n3.3V 0A NA NA\n6.6V 132mA NA NA\n"}},
         Warning,
         "[Pullup] of 'BUF' carries no current at 3.3 V"},
        {409,
         "Input",
         {{kPowerClampRows, "-3.3V 0A NA NA\n4V 0A NA NA\n6.6V 260mA NA NA\n"}},
         Warning,
         "[POWER Clamp] of 'BUF' carries no current at 3.3 V"},
        {410, "I/O", {{kFirst, ""}}, Warning, "from 0 V to 6.6 V; -3.3 V to 6.6 V"},
        {410,
         "Input",
         {{"-3.3V  -260", "-2V  -260"}},
         Warning,
         "[GND Clamp] of 'BUF' goes from -2"},
        {410,
         "Input",
         {{" 0.0V     0.0mA     0.0mA     0.0mA\n", ""}},
         Warning,
         "-3.3 V to 0 V are"},
        {411, "I/O", {{" 6.6V   264", " 6.1V   264"}}, Note, "from -3.3 V to 6.1 V"},
        {412,
         "Input",
         {{kGndClampRows, "-3.3V -6.6mA NA NA\n0V -3mA NA NA\n3.3V 0mA NA NA\n"}},
         Warning,
         "carries -3 mA at 0 V (typ)"},
        {412,
         "Input",
         {{kGndClampRows, "-3.3V -6.6mA NA NA\n0V -30uA NA NA\n3.3V 0mA NA NA\n"}},
         Note,
         "carries -30 uA at 0 V (typ)"},
        {413,
         "Input",
         {{kGndClampRows, "-3.3V -66mA NA NA\n3.3V 66mA NA NA\n"},
          {kPowerClampRows, "-3.3V 132mA NA NA\n3.3V 0mA NA NA\n"}},
         Warning,
         "59.4 mA at 2.97 V of the pad"},
        {414,
         "I/O",
         {{kPulldownRows, "-3.3V 0A NA NA\n0V 20mA NA NA\n1V 40mA NA NA\n6.6V 100mA NA NA\n"}},
         Warning,
         "[Pulldown] of 'BUF' carries 20 mA at 0 V (typ), 20 %"},
        {415,
         "I/O",
         {{kPulldownRows, "-3.3V -132mA -165mA -110mA\n6.6V 264mA 330mA 220mA\n"}},
         Warning,
         "66 mA (typ), 82.5 mA (min) and 55 mA (max) at 1.65 V"},
        {415,
         "I/O",
         {{kPulldownRows, "-3.3V -132mA -165mA -165mA\n6.6V 264mA 330mA 330mA\n"}},
         Note,
         "66 mA (typ), 82.5 mA (min)"},
        {416, "Input", {{"-260.0mA  -240.0mA", "-26kA NA"}}, Note, "reaches 2.6e+04 A (typ)"},
        {417, "Input", {{"-260.0mA  -240.0mA", "0mA -240.0mA"}}, Note, "zero throughout (typ)"},
        {418,
         "I/O",
         {{" 2.0V    80.0mA", " 2.0V    80.0A"}},
         Warning,
         "80 A at 2 V (typ), between 40"},
        {418, "I/O", {{" 2.0V    80.0mA", " 2.0V    80.0uA"}}, Warning, "80 uA at 2 V (typ)"},
        {419, "I/O", {{kSecond, ""}}, Note, "4 rows between 0 V and 3.3 V"},
        {420,
         "I/O",
         {{kPulldownRows, "-3.3V -132A NA NA\n0V 0A NA NA\n6.6V 264A NA NA\n"}},
         Warning,
         "is 0.025 ohm near 0 V"},
        {420,
         "I/O",
         {{kPulldownRows, "-3.3V -132uA NA NA\n0V 0A NA NA\n6.6V 264uA NA NA\n"}},
         Note,
         "is 2.5e+04 ohm near 0 V"},
        {421,
         "I/O",
         {{"[Pullup]", "[ISSO PD]\n-3.3V 0A NA NA\n0V 50mA NA NA\n3.3V 100mA NA NA\n[Pullup]"}},
         Warning,
         "carries 50 mA at 0 V (typ), its [Pulldown] 132 mA at 3.3 V"},
        {421,
         "I/O",
         {{"[Pullup]", "[ISSO PU]\n-3.3V 0A NA NA\n0V -132mA NA NA\n[Pullup]"}},
         Warning,
         "goes from -3.3 V to 0 V"},
        {421,
         "Open_drain",
         {{"[Ramp]", "[ISSO PU]\n-3.3V 0A NA NA\n0V -132mA NA NA\n[Ramp]"}},
         Warning,
         "stands without a [Pullup]"},
        {422, "Input", {{kGndClampRows, ""}}, Error, "[GND Clamp] of 'BUF' has no rows"},
    };
}

}  // namespace ibis
