#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace amisim {

/// How the fields of a table of text are set apart: by semicolons, by commas, or by blanks and
/// tabs. The decimal sign is a point, or a comma where the fields are not set apart by commas.
class CsvFormat
{
public:
    CsvFormat() = default;

    /// What finds the most numbers in these lines, and the fewest fields that are none.
    explicit CsvFormat(const std::vector<std::string>& lines);

    /// The fields, without blanks and quotation marks around them; empty ones at the end left out.
    void Split(std::string_view line, std::vector<std::string_view>& fields) const;

    /// Whether the whole field is a finite number, and which.
    bool Number(std::string_view field, double& value) const;

    /// For each field whether it is a number.
    std::vector<bool> Numbers(const std::vector<std::string_view>& fields) const;

private:
    char separator_ = ',';  // a blank for blanks and tabs
};

}  // namespace amisim
