#include "table_reader.h"

#include <algorithm>
#include <limits>

#include "scenario.h"

namespace rig {

namespace {

[[noreturn]] void FailAt(const toml::source_region& where, const std::string& message) {
    // A table built from a command's words has no line numbers.
    const auto line = where.begin.line;
    throw ScenarioError((line != 0 ? "line " + std::to_string(line) + ": " : "") + message);
}

std::string Between(std::string_view left, std::string_view text, std::string_view right) {
    return std::string(left).append(text).append(right);
}

std::string Quoted(std::string_view text) {
    return Between("'", text, "'");
}

const toml::table& EmptyTable() {
    static const toml::table table;
    return table;
}

} // namespace

TableReader::TableReader(const toml::table& source, std::string tableName)
    : table(&source), name(std::move(tableName)) {}

std::optional<bool> TableReader::Boolean(std::string_view key) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const auto* value = node->as_boolean()) {
        return value->get();
    }
    Fail(key, Quoted(key) + " must be true or false");
}

std::optional<std::int64_t> TableReader::Integer(std::string_view key, std::int64_t lowest,
                                                 std::int64_t highest) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto* value = node->as_integer();
    if (value != nullptr && value->get() >= lowest && value->get() <= highest) {
        return value->get();
    }
    Fail(key, Quoted(key) + " must be a whole number from " + std::to_string(lowest) + " to " +
                  std::to_string(highest));
}

std::optional<std::string> TableReader::Text(std::string_view key) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
    const auto* value = node->as_string();
    if (value != nullptr && std::all_of(value->get().begin(), value->get().end(), isPrintable)) {
        return value->get();
    }
    Fail(key, Quoted(key) + " must be a text of printable ASCII characters");
}

std::optional<std::string> TableReader::Lines(std::string_view key) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const auto* value = node->as_string()) {
        return value->get();
    }
    Fail(key, Quoted(key) + " must be a text");
}

std::vector<std::vector<std::int64_t>> TableReader::NumberLists(std::string_view key) {
    std::vector<std::vector<std::int64_t>> lists;
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return lists;
    }
    const auto add = [&](const toml::node& element) {
        const auto* number = element.as_integer();
        if (number == nullptr || number->get() < 0 ||
            number->get() > std::numeric_limits<std::int64_t>::max() / 2) {
            Fail(key, Quoted(key) + " must hold whole numbers and lists of them");
        }
        lists.back().push_back(number->get());
    };
    const toml::array* array = node->as_array();
    if (array == nullptr) {
        Fail(key, Quoted(key) + " must be an array");
    }
    for (const toml::node& element : *array) {
        lists.emplace_back();
        const toml::array* inner = element.as_array();
        if (inner == nullptr || inner->empty()) {
            add(element);
            continue;
        }
        for (const toml::node& number : *inner) {
            add(number);
        }
    }
    return lists;
}

std::optional<std::size_t> TableReader::Choice(std::string_view key,
                                               const std::vector<std::string_view>& choices) {
    const std::optional<std::string> text = Text(key);
    if (!text) {
        return std::nullopt;
    }
    const auto found = std::find(choices.begin(), choices.end(), *text);
    if (found != choices.end()) {
        return static_cast<std::size_t>(found - choices.begin());
    }
    std::string list;
    for (const std::string_view choice : choices) {
        list += (list.empty() ? "" : ", ") + Quoted(choice);
    }
    Fail(key, Quoted(key) + " must be one of " + list);
}

TableReader TableReader::Table(std::string_view key) {
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return {EmptyTable(), Between("[", key, "]")};
    }
    if (const toml::table* inner = node->as_table()) {
        return {*inner, Between("[", key, "]")};
    }
    Fail(key, Quoted(key) + " must be a table");
}

std::vector<TableReader> TableReader::Tables(std::string_view key) {
    std::vector<TableReader> readers;
    const toml::node* node = Find(key);
    if (node == nullptr) {
        return readers;
    }
    const toml::array* array = node->as_array();
    if (array == nullptr) {
        Fail(key, Quoted(key) + " must be an array of tables: " + Between("[[", key, "]]"));
    }
    for (const toml::node& element : *array) {
        const toml::table* inner = element.as_table();
        if (inner == nullptr) {
            FailAt(element.source(), Quoted(key) + " must hold tables only");
        }
        readers.emplace_back(*inner, Between("[[", key, "]]"));
    }
    return readers;
}

void TableReader::RefuseOtherKeys() const {
    for (const auto& [key, node] : *table) {
        if (!known.contains(key.str())) {
            std::string names;
            for (const std::string& each : known) {
                names += (names.empty() ? "" : ", ") + each;
            }
            FailAt(key.source(),
                   "unknown key " + Quoted(key.str()) + " in " + name + "; there are " + names);
        }
    }
}

void TableReader::Fail(std::string_view key, const std::string& message) const {
    const toml::node* node = table->get(key);
    FailAt(node != nullptr ? node->source() : table->source(), message);
}

const toml::node* TableReader::Find(std::string_view key) {
    known.emplace(key);
    return table->get(key);
}

} // namespace rig
