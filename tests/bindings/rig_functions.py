"""What solvane_rig.py offers to tests of hosts, each function once."""

import os
import sys
import threading

import solvane
from solvane_rig import EntryKind, Line, Rig, RigError

SCENARIO = "[camera]\nexposure_ms = 30\n[eapi]\n[[usb]]\nchip = 'FT2232H'\n"


def refusal(call, *arguments, **options):
    try:
        call(*arguments, **options)
    except RigError as error:
        return str(error)
    return "accepted"


def status_of(call):
    try:
        call()
    except solvane.Error as error:
        return error.status
    return solvane.OK


def scenarios(rig, folder):
    print("bad scenario:", refusal(rig.load, "[camera]\nexposure = 1\n"))
    print("no such file:", refusal(rig.load_file, os.path.join(folder, "ä.toml")) != "accepted", rig.error() != "")
    rig.load()
    print("none named:", rig.scenario())
    path = os.path.join(folder, "ö.toml")
    with open(path, "w", encoding="utf-8") as file:
        file.write("[lpt]\n")
    rig.load_file(path)
    print("of a file:", rig.scenario() == path, len(rig.error()))
    print("given:", Rig(SCENARIO).scenario())


def lines(rig):
    solvane.trigger_capture()
    print("captures:", rig.captures(), "trigger", rig.level(Line.TRIGGER), "power", rig.level(Line.CAMERA_POWER))
    start = rig.mark()
    with rig.force(Line.READY, 0):
        print("forced:", rig.level(Line.READY), "status", status_of(solvane.trigger_capture))
    print("released:", rig.wait_edge(Line.READY, 1, since=start)["edge"])
    print("forced dark:", refusal(rig.force, Line.DARK, 1))
    rig.unplug()
    rig.plug(0)
    print("no such chip:", refusal(rig.unplug, 7))
    print("interfaces:", rig.wbem_interfaces())


def faults(rig):
    before, all_before = rig.calls("EApiGPIOSetLevel"), rig.calls()
    rig.add_fault("EApiGPIOSetLevel", status=0xFFFFFFFF)
    print("faulty:", status_of(solvane.enable_forced_black_update),
          status_of(solvane.enable_forced_black_update))
    print("calls:", rig.calls("EApiGPIOSetLevel") - before, rig.calls() - all_before >= 2)
    rig.add_fault("*", status=0xFFFFFFFF, times=0)
    print("all fail:", status_of(solvane.disable_forced_black_update))
    rig.clear_faults()
    print("lifted:", status_of(solvane.disable_forced_black_update))
    print("bad fault:", refusal(rig.add_fault, "EApiGPIOSetLevel"))


def journal(rig):
    start = rig.mark()
    rig.note("größer")
    rig.unplug()
    solvane.enable_camera_power()
    rig.plug()
    entries = rig.journal(since=start)
    print("noted:", [entry.text for entry in entries if entry.kind == EntryKind.NOTE][0])
    print("events:", ", ".join(entry.text for entry in entries if entry.kind == EntryKind.EVENT))
    print("in order:", all(one.time_ns <= other.time_ns <= rig.time_ns()
                           for one, other in zip(entries, entries[1:])))
    rig.clear_journal()
    print("cleared:", len(rig.journal()))


def commands(rig):
    print("set:", *rig.command("set exposure_ms 40"))
    print("levels:", rig.command("levels", json_answer=True).answer["ready"])
    print("unknown:", rig.command("explode").exit_code, rig.command("explode", json_answer=True).answer["error"][:21])
    start = rig.mark()
    solvane.trigger_capture()
    print("pulse:", rig.expect_pulse(Line.TRIGGER, 9, 5000, since=start)["line"])
    print("too short:", refusal(rig.expect_pulse, Line.TRIGGER, 5000, 5000.5, since=start).split(", not ")[1])
    print("flag:", rig.wait_edge(Line.MEP, 1, since=start)["edge"])
    print("no edge:", refusal(rig.wait_edge, Line.MEP, 1, within_ms=20.5))


def waits_on_another_thread(rig):
    seen = []
    thread = threading.Thread(target=lambda: seen.append(rig.wait_edge(Line.DARK, 1, within_ms=20000)))
    thread.start()
    threading.Event().wait(0.3)  # until the other thread waits
    print("waiting:", len(seen))
    solvane.enable_forced_black_update()
    thread.join()
    print("seen:", seen[0]["edge"])


def waveform(rig, folder):
    path = os.path.join(folder, "lines.vcd")
    with rig.write_vcd(path):
        solvane.disable_forced_black_update()
    with open(path) as file:
        print("waveform:", "$enddefinitions" in file.read())
    print("no such folder:", refusal(rig.write_vcd, os.path.join(path, "x")) != "accepted")


def main(folder):
    rig = Rig()
    scenarios(rig, folder)
    lines(rig)
    faults(rig)
    journal(rig)
    commands(rig)
    waits_on_another_thread(rig)
    waveform(rig, folder)
    solvane.close_device()


main(sys.argv[1])
