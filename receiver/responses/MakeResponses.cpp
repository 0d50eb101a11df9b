// Writes the C++ source of the 32 equaliser response tables, at build time:
//
//     make_responses OUTPUT [FOLDER]
//
// from the built-in family or from the files in FOLDER. Values are written as hexadecimal
// floating-point numbers, which lose nothing. Ends with 1 and one line on standard error when the
// files will not do; OUTPUT is not touched then.

#include <exception>
#include <fstream>
#include <iostream>
#include <locale>
#include <stdexcept>
#include <string>
#include <vector>

#include "receiver/responses/ResponseFamily.hpp"
#include "receiver/responses/ResponseFiles.hpp"
#include "receiver/responses/TableOrder.hpp"

namespace {

std::vector<Response> BuiltInResponses()
{
    std::vector<Response> responses;
    for (int level = 0; level < ResponseCount; ++level) responses.push_back(BuiltInResponse(level));
    return responses;
}

void WriteArray(std::ostream& out, int table, const char* member, const std::vector<double>& values)
{
    out << "const double T" << table << "_m_" << member << "[" << values.size() << "] = {\n";
    for (const double value : values) out << "    " << value << ",\n";
    out << "};\n\n";
}

void WriteTables(std::ostream& out, const std::vector<Response>& responses)
{
    const Response* tables[ResponseCount] = {};
    for (int level = 0; level < ResponseCount; ++level)
        tables[TableOfLevel[level] - 1] = &responses[static_cast<std::size_t>(level)];

    out.imbue(std::locale::classic());
    out << std::hexfloat;
    out << "// Written by make_responses. Do not edit.\n\n"
           "#include \"receiver/responses/ResponseTables.hpp\"\n\n"
           "namespace {\n\n";
    for (int m = 1; m <= ResponseCount; ++m) {
        WriteArray(out, m, "pdTimeStamps", tables[m - 1]->Times);
        WriteArray(out, m, "pdResponse", tables[m - 1]->Values);
    }
    out << "}  // namespace\n\nconst ResponseTable g_ResponseTables[" << ResponseCount << "] = {\n";
    for (int m = 1; m <= ResponseCount; ++m)
        out << "    {T" << m << "_m_pdTimeStamps, T" << m << "_m_pdResponse, "
            << tables[m - 1]->Times.size() << "},\n";
    out << "};\n";
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        if (argc < 2 || argc > 3) throw std::runtime_error("usage: make_responses OUTPUT [FOLDER]");
        const std::vector<Response> responses =
            argc == 3 ? ReadResponseFolder(argv[2]) : BuiltInResponses();
        std::ofstream out(argv[1]);
        WriteTables(out, responses);
        out.close();
        if (!out) throw std::runtime_error(std::string(argv[1]) + ": cannot be written");
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
