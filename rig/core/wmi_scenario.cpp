#include "wmi_scenario.h"

#include "table_reader.h"

namespace rig {

namespace {

std::string ReadType(TableReader& table, std::string_view key) {
    table.Choice(key, {"string", "null-string", "null", "number"});
    return table.Text(key).value_or("string");
}

WmiText ReadRange(TableReader table) {
    if (!table.Has("start")) {
        table.Fail("start", "[[parallel_port.range]] needs 'start'");
    }
    WmiText start{*table.Text("start"), ReadType(table, "type")};
    table.RefuseOtherKeys();
    return start;
}

WmiPort ReadPort(TableReader& table, std::size_t index) {
    WmiPort port;
    port.deviceId = {table.Text("device_id").value_or("LPT" + std::to_string(index + 1)),
                     ReadType(table, "device_id_type")};
    for (const TableReader& range : table.Tables("range")) {
        port.startingAddresses.push_back(ReadRange(range));
    }
    table.RefuseOtherKeys();
    return port;
}

} // namespace

WmiSetup ReadWmi(std::vector<TableReader> tables) {
    WmiSetup setup;
    for (TableReader& table : tables) {
        setup.ports.push_back(ReadPort(table, setup.ports.size()));
    }
    return setup;
}

} // namespace rig
