// The rig's functions in C#, in the process of the host and on a bench. The argument is a folder to write to.

using System;
using System.IO;
using System.Linq;
using System.Threading;
using Solvane;

static class RigTest
{
    const string Chip = "[[usb]]\nchip = 'FT2232H'\n";

    static string folder;

    static int Main(string[] arguments)
    {
        folder = arguments[0];
        return Expect.Run(
            TheHardwareAtFirst, ALoadedScenario, AScenarioFile, ScenariosThatAreWrong, TheLines, ForcedLines,
            ACapture, ThePlug, FaultsOfEachKind, FaultsThatCannotBe, CallsAreCounted, TheJournal,
            TheJournalSinceAMark, WaitsForAnEdge, WaitsForAPulse, CommandsAnswer, Texts, AWaveform, WmiObjects,
            OneLineFromManyThreads);
    }

    static void Load(string toml = Chip)
    {
        Rig.Load(toml);
        SolvaneCamera.RecheckStatus();
        Rig.ClearJournal();
    }

    static string[] Edges()
    {
        return Rig.Journal().Where(each => each.Kind == RigEntryKind.Edge).Select(each => each.Text).ToArray();
    }

    static void TheHardwareAtFirst()
    {
        Expect.Equal("default", Rig.Scenario);
        Expect.Equal("", Rig.Error);
        SolvaneCamera.CheckAvailable();
        Rig.Load("");
        Rig.Load();
        Expect.Equal("default", Rig.Scenario);
        SolvaneCamera.RecheckStatus();
    }

    static void ALoadedScenario()
    {
        Rig.Load("[camera]\nready = false\n" + Chip);
        Expect.Equal("given as text", Rig.Scenario);
        Expect.Equal(false, Rig.Level(RigLine.Ready));
        SolvaneCamera.RecheckStatus();
        Expect.Status(SolvaneStatus.NotReady, SolvaneCamera.TriggerCapture);
        Rig.Load("");
        Expect.Status(SolvaneStatus.NoHardware, SolvaneCamera.RecheckStatus);
    }

    static void AScenarioFile()
    {
        string path = Path.Combine(folder, "Kälte.toml");
        File.WriteAllText(path, "[camera]\nmep_latched = true\n" + Chip);
        Rig.LoadFile(path);
        Expect.Equal(path, Rig.Scenario);
        Expect.Equal(true, Rig.Level(RigLine.Mep));
        SolvaneCamera.RecheckStatus();
        Expect.Equal(true, SolvaneCamera.CheckAndResetMepFlag());
        Expect.Equal(false, Rig.Level(RigLine.Mep));
    }

    static void ScenariosThatAreWrong()
    {
        Load();
        string reason = Expect.Throws<RigException>(() => Rig.Load("[camera]\nreddy = true\n")).Message;
        Expect.Contains("reddy", reason);
        Expect.Equal(reason, Rig.Error);
        Expect.Equal("given as text", Rig.Scenario);
        SolvaneCamera.TriggerCapture(); // nothing has changed
        Expect.Throws<RigException>(() => Rig.LoadFile(Path.Combine(folder, "nothing.toml")));
        Expect.Throws<ArgumentNullException>(() => Rig.LoadFile(null));
        Expect.Throws<ArgumentException>(() => Rig.Load("[camera]\0"));
    }

    static void TheLines()
    {
        Load();
        Expect.Equal(false, Rig.Level(RigLine.Trigger));
        Expect.Equal(true, Rig.Level(RigLine.Ready));
        Expect.Equal(false, Rig.Level(RigLine.Mep));
        Expect.Equal(false, Rig.Level(RigLine.ClearMep));
        Expect.Equal(true, Rig.Level(RigLine.CameraPower));
        SolvaneCamera.EnableForcedBlackUpdate();
        Expect.Equal(true, Rig.Level(RigLine.Dark));
        SolvaneCamera.DisableForcedBlackUpdate();
        SolvaneCamera.DisableAccessoriesPower();
        Expect.Equal(false, Rig.Level(RigLine.AccessoriesPower));
        SolvaneCamera.DisableCameraPower();
        Expect.Equal(false, Rig.Level(RigLine.CameraPower));
        Expect.Sequence(Edges(), "dark 1", "dark 0", "accessories_power 0", "camera_power 0", "ready 0");
        Expect.Equal(false, Rig.Level((RigLine)7)); // there is none
    }

    static void ForcedLines()
    {
        Load();
        Rig.Force(RigLine.Ready, false);
        Expect.Equal(false, SolvaneCamera.CheckSystemReady());
        Rig.Release(RigLine.Ready);
        Expect.Equal(true, SolvaneCamera.CheckSystemReady());
        using (Rig.Force(RigLine.Mep, true))
        {
            Expect.Equal(true, SolvaneCamera.CheckAndResetMepFlag());
            Expect.Equal(true, SolvaneCamera.CheckAndResetMepFlag()); // it cannot be cleared
        }
        Expect.Equal(false, SolvaneCamera.CheckAndResetMepFlag());
        Expect.Throws<RigException>(() => Rig.Force(RigLine.Dark, true));
        Expect.Throws<RigException>(() => Rig.Release(RigLine.Trigger));
    }

    static void ACapture()
    {
        Load();
        Expect.Equal(0u, Rig.Captures);
        SolvaneCamera.TriggerCapture();
        Expect.Equal(1u, Rig.Captures);
    }

    static void ThePlug()
    {
        Load();
        Rig.Unplug();
        Expect.Equal(false, SolvaneCamera.CheckSystemReady()); // it could not be read
        Expect.Status(SolvaneStatus.NoHardware, SolvaneCamera.TriggerCapture);
        Rig.Plug(0);
        SolvaneCamera.TriggerCapture();
        Expect.Throws<RigException>(() => Rig.Unplug(1));
        Expect.Throws<RigException>(() => Rig.Plug(1));
    }

    static void FaultsOfEachKind()
    {
        Load("[eapi]\n");
        Rig.AddFault("EApiGPIOGetLevel", status: 0xFFFFFFFF);
        Expect.Equal(false, SolvaneCamera.CheckSystemReady());
        Expect.Equal(true, SolvaneCamera.CheckSystemReady());
        Rig.AddFault("EApiGPIOGetLevel", status: 0xFFFFFFFF, call: Rig.Calls("EApiGPIOGetLevel") + 2);
        Expect.Equal(true, SolvaneCamera.CheckSystemReady());
        Expect.Equal(false, SolvaneCamera.CheckSystemReady());
        Rig.AddFault("*", status: 0xFFFFFFFF, times: 0);
        Expect.Equal(false, SolvaneCamera.CheckSystemReady());
        Expect.Equal(false, SolvaneCamera.CheckSystemReady());
        Rig.ClearFaults();
        Expect.Equal(true, SolvaneCamera.CheckSystemReady());
        Rig.AddFault("EApiGPIOSetLevel", silent: true);
        SolvaneCamera.EnableForcedBlackUpdate();
        Expect.Equal(false, Rig.Level(RigLine.Dark));

        Load();
        Rig.AddFault("FT_Write", count: 1, times: 0); // a byte of each write's three
        Expect.Status(SolvaneStatus.Write, SolvaneCamera.EnableForcedBlackUpdate);
        Expect.Contains("4f]) -> 0, 1\n", string.Join("\n", Rig.Journal()) + "\n");
        Rig.ClearFaults();
        Rig.AddFault("FT_CreateDeviceInfoList", status: 4, count: 0);
        Expect.Status(SolvaneStatus.NoHardware, SolvaneCamera.RecheckStatus);
        SolvaneCamera.RecheckStatus();
    }

    static void FaultsThatCannotBe()
    {
        Load();
        Expect.Contains("FT_Wrote", Expect.Throws<RigException>(() => Rig.AddFault("FT_Wrote", status: 4)).Message);
        Expect.Throws<RigException>(() => Rig.AddFault("FT_Write"));
        Expect.Throws<RigException>(() => Rig.AddFault("FT_Write", status: 4, silent: true));
        Expect.Throws<RigException>(() => Rig.AddFault("FT_Write", status: 4, call: 0));
        Expect.Throws<ArgumentNullException>(() => Rig.AddFault(null, status: 4));
        SolvaneCamera.TriggerCapture();
    }

    static void CallsAreCounted()
    {
        Load();
        uint writes = Rig.Calls("FT_Write");
        uint all = Rig.Calls();
        SolvaneCamera.EnableForcedBlackUpdate();
        Expect.Equal(writes + 1, Rig.Calls("FT_Write"));
        Expect.Equal(true, Rig.Calls() > all);
        Expect.Equal(0u, Rig.Calls("Inp33"));
    }

    static void TheJournal()
    {
        Load("[eapi]\n");
        ulong before = Rig.TimeNs;
        Rig.Note("grüße, 1 > 0");
        SolvaneCamera.EnableForcedBlackUpdate();
        RigEntry[] entries = Rig.Journal().ToArray();
        Expect.Sequence(entries.Select(each => each.Kind + " " + each), "Note grüße, 1 > 0", "Edge dark 1",
            "Call EApiGPIOSetLevel(4, 1, 1) -> 0x0");
        Expect.Equal(true, before <= entries[0].TimeNs);
        Expect.Equal(true, entries[0].TimeNs <= entries[1].TimeNs);
        Expect.Equal(true, entries[2].TimeNs <= Rig.TimeNs);
        uint calls = Rig.Calls();
        Rig.ClearJournal();
        Expect.Equal(0, Rig.Journal().Count);
        Expect.Equal(calls, Rig.Calls());
        Expect.Throws<ArgumentNullException>(() => Rig.Note(null));
    }

    static void TheJournalSinceAMark()
    {
        Load();
        Rig.Note("one");
        ulong mark = Rig.Mark();
        Rig.Note("two");
        Expect.Sequence(Rig.Journal().Select(each => each.Text), "one", "two");
        Expect.Sequence(Rig.Journal(mark).Select(each => each.Text), "two");
        Expect.Equal(0, Rig.Journal(mark + 1).Count);
        Rig.ClearJournal();
        Rig.Note("three");
        Expect.Sequence(Rig.Journal(mark).Select(each => each.Text), "three");
    }

    static void WaitsForAnEdge()
    {
        Load("[camera]\nexposure_ms = 100\n" + Chip);
        ulong mark = Rig.Mark();
        SolvaneCamera.TriggerCapture();
        Expect.Contains("trigger 1", Rig.WaitEdge(RigLine.Trigger, true, since: mark));
        Rig.WaitEdge(RigLine.Mep, true, since: mark);
        Expect.Equal(true, Rig.Level(RigLine.Ready));
        Expect.Throws<RigException>(() => Rig.WaitEdge(RigLine.Trigger, true, 1));
        Expect.Throws<RigException>(() => Rig.WaitEdge((RigLine)7, true, 1));
    }

    static void WaitsForAPulse()
    {
        Load();
        ulong mark = Rig.Mark();
        SolvaneCamera.TriggerCapture();
        Expect.Contains("trigger 1 for ", Rig.ExpectPulse(RigLine.Trigger, 9.5, 1000, since: mark));
        Expect.Contains("trigger 1 for ", Expect.Throws<RigException>(
            () => Rig.ExpectPulse(RigLine.Trigger, 0.25, 0.5, since: mark)).Message);
    }

    static void CommandsAnswer()
    {
        Load();
        RigAnswer answer = Rig.Command("set exposure_ms 80");
        Expect.Equal(0, answer.ExitCode);
        answer = Rig.Command("captures", json: true);
        Expect.Equal("0 {\"captures\":0}", answer.ExitCode + " " + answer.Text.Replace(" ", ""));
        answer = Rig.Command("expect-pulse trigger 9..13 --within 1");
        Expect.Equal(1, answer.ExitCode);
        answer = Rig.Command("unplugg 0");
        Expect.Equal(2, answer.ExitCode);
        Expect.Contains("unplug", answer.Text);
        Expect.Throws<ArgumentNullException>(() => Rig.Command(null));
    }

    static void Texts()
    {
        Load();
        string text = "50 µm, 日本, 😀, \"quoted\"";
        Rig.Note(text);
        Expect.Sequence(Rig.Journal().Select(each => each.Text), text);
        Rig.Note("");
        Expect.Sequence(Rig.Journal().Select(each => each.Text), text, "");
        Expect.Throws<ArgumentException>(() => Rig.Note("cut\0short"));
    }

    static void AWaveform()
    {
        Load();
        string path = Path.Combine(folder, "Größe.vcd");
        using (Rig.WriteVcd(path))
        {
            SolvaneCamera.TriggerCapture();
        }
        string waveform = File.ReadAllText(path);
        Expect.Contains("$var wire 1", waveform);
        SolvaneCamera.EnableForcedBlackUpdate();
        Expect.Equal(waveform, File.ReadAllText(path));
        Rig.WriteVcd(path);
        Rig.WriteVcd(null);
        Expect.Throws<RigException>(() => Rig.WriteVcd(Path.Combine(folder, "no/such/folder/lines.vcd")));
    }

    static void WmiObjects()
    {
        Load("[lpt]\n");
        Expect.Equal(0, Rig.WbemInterfaces); // the search released everything
    }

    static void OneLineFromManyThreads()
    {
        Load();
        Thread[] threads = Enumerable.Range(0, 4).Select(number => new Thread(() =>
        {
            for (int i = 0; i < 100; i++)
            {
                Rig.Note("thread " + number);
            }
        })).ToArray();
        Array.ForEach(threads, each => each.Start());
        Array.ForEach(threads, each => each.Join());
        Expect.Equal("100 100 100 100", string.Join(" ", Enumerable.Range(0, 4).Select(number =>
            Rig.Journal().Count(each => each.Text == "thread " + number).ToString()).ToArray()));
    }
}
