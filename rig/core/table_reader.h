/// Strict reading of one TOML table: every key in it must be known, of the right type and in range.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "toml_text.h"

namespace rig {

class TableReader {
  public:
    /// `name` is the table's name in messages.
    TableReader(const toml::table& source, std::string name);

    // Each returns nullopt when the key is absent, and throws ScenarioError when its value is
    // wrong.
    std::optional<bool> Boolean(std::string_view key);
    std::optional<std::int64_t> Integer(std::string_view key, std::int64_t lowest,
                                        std::int64_t highest);
    std::optional<std::string> Text(std::string_view key);
    std::optional<std::string>
    Lines(std::string_view key); ///< a text that may have control characters

    /// An array of non-negative numbers or lists of them; a single number is a list of one.
    std::vector<std::vector<std::int64_t>> NumberLists(std::string_view key);

    /// The index of the text among the choices.
    std::optional<std::size_t> Choice(std::string_view key,
                                      const std::vector<std::string_view>& choices);

    /// A reader for a table within this one, or for an empty table when there is none.
    TableReader Table(std::string_view key);
    /// Readers for an array of tables.
    std::vector<TableReader> Tables(std::string_view key);

    bool Has(std::string_view key) const { return table->contains(key); }

    /// The line of a key; the key must be there.
    std::size_t LineOf(std::string_view key) const { return table->get(key)->source().begin.line; }

    /// Throws when the table has keys that none of the readers above asked for. Call it last.
    void RefuseOtherKeys() const;

    /// Throws ScenarioError, at the line of a key or, when it is absent, of the table.
    [[noreturn]] void Fail(std::string_view key, const std::string& message) const;

  private:
    const toml::node* Find(std::string_view key);

    const toml::table* table;
    std::string name;
    std::set<std::string, std::less<>> known;
};

} // namespace rig
