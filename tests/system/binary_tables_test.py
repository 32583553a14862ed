"""The exports, imports and protections of Solvane.dll; and that the rig's DLLs export what it
imports."""

import argparse
import os
import re
import subprocess
import unittest

SYSTEM_DLLS = {"KERNEL32.dll", "msvcrt.dll", "WINMM.dll", "ole32.dll", "OLEAUT32.dll"}
MOST_BYTES = 1024 * 1024

# What FTD2XX.dll exports, each with "FT_" in front, in the order of the ordinals from 1 on.
D2XX = """
Open Close Read Write IoCtl ResetDevice SetBaudRate SetDataCharacteristics SetFlowControl SetDtr
ClrDtr SetRts ClrRts GetModemStatus SetChars Purge SetTimeouts GetQueueStatus SetEventNotification
GetEventStatus GetStatus SetBreakOn SetBreakOff SetWaitMask WaitOnMask SetDivisor OpenEx ListDevices
SetLatencyTimer GetLatencyTimer SetBitMode GetBitMode SetUSBParameters EraseEE ReadEE WriteEE
EE_Program EE_Read EE_UARead EE_UASize EE_UAWrite W32_CreateFile W32_CloseHandle W32_ReadFile
W32_WriteFile W32_GetOverlappedResult W32_ClearCommBreak W32_ClearCommError W32_EscapeCommFunction
W32_GetCommModemStatus W32_GetCommState W32_GetCommTimeouts W32_GetLastError W32_PurgeComm
W32_SetCommBreak W32_SetCommMask W32_SetCommState W32_SetCommTimeouts W32_SetupComm
W32_WaitCommEvent GetDeviceInfo W32_CancelIo StopInTask RestartInTask SetResetPipeRetryCount
ResetPort EE_ProgramEx EE_ReadEx CyclePort CreateDeviceInfoList GetDeviceInfoList
GetDeviceInfoDetail SetDeadmanTimeout Finalise GetDriverVersion GetLibraryVersion W32_GetCommMask
Rescan Reload GetComPortNumber EE_ReadConfig EE_WriteConfig EE_ReadECC GetQueueStatusEx EEPROM_Read
EEPROM_Program ComPortIdle ComPortCancelIdle VendorCmdGet VendorCmdSet VendorCmdGetEx VendorCmdSetEx
Initialise
""".split()


def dump(*flags, binary=None):
    return subprocess.run([OPTIONS.objdump, *flags, binary or OPTIONS.library], check=True,
                          capture_output=True, text=True).stdout


def stand_in(dll):
    """{name: ordinal} of the rig's DLL with a vendor's name."""
    table = dump("-p", binary=os.path.join(OPTIONS.rig, dll))
    forwards = re.findall(r"\+base\[ *(\d+)\].* solvane_rig\.(\w+)", table)
    return {name: int(ordinal) for ordinal, name in forwards}


def def_file(path):
    """{name: ordinal or None} of the EXPORTS of a module definition file."""
    entries = {}
    exports = False
    for line in open(path):
        line = line.split(";")[0].strip()
        if line == "EXPORTS":
            exports = True
        elif exports and line:
            match = re.fullmatch(r"(\w+)(?:\s+@(\d+))?(?:\s+NONAME)?", line)
            entries[match[1]] = int(match[2]) if match[2] else None
    return entries


class Tables(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.headers = dump("-p")

    def imports(self):
        """{dll: list of names or ordinals} of the import table."""
        tables = {}
        for block in re.split(r"\n\tDLL Name: ", self.headers)[1:]:
            name, _, rest = block.partition("\n")
            rest = rest.split("\n\n")[0]
            entries = []
            for line in rest.splitlines()[1:]:
                fields = line.split()
                if len(fields) < 3 or not re.fullmatch("[0-9a-f]+", fields[0]):
                    continue
                by_ordinal = int(fields[0], 16) >> 63
                entries.append(int(fields[1], 16) if by_ordinal else fields[2])
            tables[name.strip()] = entries
        return tables

    def exports(self):
        table = self.headers.split("[Ordinal/Name Pointer] Table")[1].split("\n\n")[0]
        return re.findall(r"^\s+\[\s*\d+\] (.+)$", table, re.M)

    def test_exports_are_the_documented_functions_and_nothing_else(self):
        header = open(OPTIONS.header).read()
        documented = re.findall(r"SOLVANE_API \w+ SOLVANE_CALL (Solvane_\w+)\(", header)
        self.assertEqual(len(documented), 24)
        self.assertEqual(sorted(self.exports()), sorted(documented))
        self.assertEqual(sorted(def_file(OPTIONS.definition)), sorted(documented))

    def test_imports_are_the_system_and_the_vendors(self):
        self.assertEqual(set(self.imports()),
                         SYSTEM_DLLS | {"FTD2XX.dll", "EAPI_Library.dll", "inpoutx64.dll"})

    def test_the_embedded_api_is_bound_by_name(self):
        listed = def_file(os.path.join(OPTIONS.platform, "eapi.def"))
        self.assertEqual(set(listed.values()), {None})
        self.assertEqual(sorted(self.imports()["EAPI_Library.dll"]), sorted(listed))
        self.assertEqual(set(listed), {
            "EApiLibInitialize", "EApiLibUnInitialize", "EApiGetEAPIVersion", "EApiGPIOGetCount",
            "EApiGPIOSetDirection", "EApiGPIOGetLevel", "EApiGPIOSetLevel"})
        self.assertLessEqual(set(listed), set(stand_in("EAPI_Library.dll")))

    def test_inpout_is_bound_by_its_three_ordinals(self):
        listed = def_file(os.path.join(OPTIONS.platform, "inpout.def"))
        self.assertEqual(listed, {"Inp32": 1, "Out32": 2, "IsInpOutDriverOpen": 3})
        self.assertEqual(sorted(self.imports()["inpoutx64.dll"]), [1, 2, 3])
        self.assertEqual(stand_in("inpoutx64.dll"), listed)

    def test_ftd2xx_is_bound_by_the_listed_ordinals_alone(self):
        listed = def_file(os.path.join(OPTIONS.platform, "ftd2xx.def"))
        self.assertEqual(sorted(self.imports()["FTD2XX.dll"]), sorted(listed.values()))
        self.assertEqual(listed, {
            "FT_Open": 1, "FT_Close": 2, "FT_Read": 3, "FT_Write": 4, "FT_ResetDevice": 6,
            "FT_SetFlowControl": 9, "FT_SetChars": 15, "FT_SetTimeouts": 17,
            "FT_GetQueueStatus": 18, "FT_SetLatencyTimer": 29, "FT_SetBitMode": 31,
            "FT_SetUSBParameters": 33, "FT_ResetPort": 66, "FT_CreateDeviceInfoList": 70,
            "FT_GetDeviceInfoList": 71})
        self.assertLessEqual(listed.items(), stand_in("FTD2XX.dll").items())

    def test_the_rigs_ftd2xx_has_all_exports_of_the_vendors(self):
        self.assertEqual(len(D2XX), 93)
        expected = {"FT_" + name: ordinal for ordinal, name in enumerate(D2XX, 1)}
        self.assertEqual(stand_in("FTD2XX.dll"), expected)
        table = dump("-p", binary=os.path.join(OPTIONS.rig, "FTD2XX.dll"))
        names = table.split("[Ordinal/Name Pointer] Table")[1]
        exported = re.findall(r"^\s+\[\s*(\d+)\] (\w+)$", names, re.M)
        self.assertEqual({name: int(index) + 1 for index, name in exported}, expected)

    def test_the_multimedia_timer_is_the_only_use_of_winmm(self):
        self.assertEqual(sorted(self.imports()["WINMM.dll"]), ["timeBeginPeriod", "timeEndPeriod"])

    def test_com_is_used_for_the_parallel_port_alone(self):
        self.assertEqual(sorted(self.imports()["ole32.dll"]),
                         ["CoCreateInstance", "CoInitializeEx", "CoInitializeSecurity",
                          "CoSetProxyBlanket", "CoUninitialize"])
        # Imported by ordinal: SysAllocString, SysFreeString, VariantInit, VariantClear.
        self.assertEqual(len(self.imports()["OLEAUT32.dll"]), 4)

    def test_nothing_is_delay_loaded(self):
        entry = re.search(r"Entry d ([0-9a-f]+) ([0-9a-f]+) Delay Import Directory", self.headers)
        self.assertEqual(int(entry[2], 16), 0)

    def test_64_bit_with_aslr_high_entropy_aslr_and_nx(self):
        self.assertIn("pei-x86-64", dump("-f"))
        flags = int(re.search(r"DllCharacteristics\s+([0-9a-f]+)", self.headers)[1], 16)
        high_entropy, dynamic_base, nx = 0x0020, 0x0040, 0x0100
        self.assertEqual(flags & (high_entropy | dynamic_base | nx),
                         high_entropy | dynamic_base | nx)
        # Without relocations a loader cannot move it, whatever the flags say.
        relocations = re.search(r"Entry 5 [0-9a-f]+ ([0-9a-f]+) Base Relocation", self.headers)
        self.assertGreater(int(relocations[1], 16), 0)

    def test_stripped_it_is_at_most_one_mebibyte(self):
        sections = re.findall(r"^\s*\d+ (\S+)\s+([0-9a-f]{8})", dump("-h"), re.M)
        size = sum(int(size, 16) for name, size in sections if not name.startswith(".debug"))
        print(f"sections of Solvane.dll: {size} bytes")
        self.assertLessEqual(size, MOST_BYTES)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--def", dest="definition", required=True)
    for option in ("objdump", "library", "header", "platform", "rig"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=["binary_tables_test", *rest])
