#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vemlo {

/// A value of a listing; the empty alternative means that there is none.
using Cell = std::variant<std::monostate, int, std::string>;

/// What a command found out. Every row has a cell for each column.
struct Listing {
  /// The names of the values: keys in JSON, headings in a table.
  std::vector<std::string> columns;
  std::vector<std::vector<Cell>> rows;
};

/// Writes a listing to standard output: as a JSON array with one object a row, or as a table, which
/// is nothing at all if there are no rows. Throws Failure if it cannot be written.
void writeListing(const Listing& listing, bool asJson);

/// Writes to standard output, at once. Throws Failure if it cannot be written.
void writeResult(std::string_view text);

/// Writes one line to standard error, headed by the program's name.
void writeMessage(std::string_view message);

}  // namespace vemlo
