// Either end of a link that trains itself. A transmitter, which has a parameter Step, adds Tap
// times the bit before; ahead of each block of a training it reads "number direction" from the file
// named after its BCI_ID, and moves Tap by so many steps. A receiver hands its input on. It
// measures the first postcursor in each block, and asks for the direction in which that becomes
// smaller, or says Converged when it is below three quarters of Within. With Fail it says Failed in
// that block, with Stubborn it never says Converged; AMI_Init gives an Interval back.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

double Parameter(const char* text, const char* name)
{
    const char* const found = std::strstr(text, name);
    return found ? std::atof(found + std::strlen(name)) : 0;
}

struct End
{
    double step, tap, within, fail;
    bool stubborn, training;
    std::string file;
    std::size_t bit;           // samples
    std::vector<double> past;  // the last bit's
    int blocks = 0, late = 0;  // messages that were not there in time
    const char* state = "Training";
    char told[128] = "";

    void ReadMessage()
    {
        int number = 0, direction = 0;
        if (std::FILE* const message = std::fopen(file.c_str(), "r")) {
            if (std::fscanf(message, "%d %d", &number, &direction) != 2) std::abort();
            std::fclose(message);
            if (direction == 0) state = "Converged";
        }
        late += number != blocks;
        tap += step * direction;
    }

    void Filter(double* wave, long size)
    {
        for (std::size_t n = 0; n < static_cast<std::size_t>(size); ++n) {
            double& before = past[n % bit];
            const double value = wave[n];
            wave[n] += tap * before;
            before = value;
        }
    }

    /// Of the decisions' error the part that goes with the bit before, over the main cursor.
    double Postcursor(const double* wave, std::size_t size) const
    {
        const std::size_t sampled = bit / 4 * 3;  // where the eye is widest behind a line
        double main = 0, post = 0;
        for (std::size_t n = sampled; n < size; n += bit) main += std::abs(wave[n]);
        main /= static_cast<double>(size / bit);
        for (std::size_t n = bit + sampled; n < size; n += bit)
            post += (wave[n] - std::copysign(main, wave[n])) * std::copysign(1.0, wave[n - bit]);
        return post / static_cast<double>(size / bit) / main;
    }

    void SendMessage(double postcursor)
    {
        const bool small = std::abs(postcursor) < 0.75 * within;
        if (small && !stubborn) state = "Converged";
        if (blocks + 1 == fail) state = "Failed";
        std::FILE* const message = std::fopen(file.c_str(), "w");
        if (!message) std::abort();
        std::fprintf(message, "%d %d\n", blocks + 1, small ? 0 : postcursor > 0 ? -1 : 1);
        std::fclose(message);
    }
};

}  // namespace

EXPORT long AMI_Init(double*, long, long, double sampleInterval, double bitTime,
                     const char* parameters, char** out, void** memory, char**)
{
    const auto bit = static_cast<std::size_t>(std::lround(bitTime / sampleInterval));
    const char* const id = std::strstr(parameters, "(BCI_ID \"");
    const char* const name = id ? id + std::strlen("(BCI_ID \"") : "";
    *memory = new End{Parameter(parameters, "(Step "),
                      Parameter(parameters, "(Tap "),
                      Parameter(parameters, "(Within "),
                      Parameter(parameters, "(Fail "),
                      Parameter(parameters, "(Stubborn ") != 0,
                      std::strstr(parameters, "(BCI_State \"Training\")") != nullptr,
                      std::string(name, std::strcspn(name, "\"")) + "_message",
                      bit,
                      std::vector<double>(bit)};
    static char told[64] = "";
    if (const double interval = Parameter(parameters, "(Interval "); interval > 0)
        std::snprintf(told, sizeof told, "(end (BCI_Message_Interval_UI %g))", interval);
    *out = told;
    return 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char** parameters,
                        void* memory)
{
    End& end = *static_cast<End*>(memory);
    const bool transmits = end.step != 0;
    const bool training = end.training && std::strcmp(end.state, "Training") == 0;
    if (training && transmits) end.ReadMessage();
    if (transmits) end.Filter(wave, size);
    if (training && !transmits)
        end.SendMessage(end.Postcursor(wave, static_cast<std::size_t>(size)));
    ++end.blocks;
    std::snprintf(end.told, sizeof end.told, "(end (tap %.17g) (late %d) (BCI_State \"%s\"))",
                  end.tap, end.late, end.training ? end.state : "Off");
    *parameters = end.told;
    *clockTimes = -1;
    return 1;
}

EXPORT long AMI_Close(void* memory)
{
    delete static_cast<End*>(memory);
    return 1;
}
