// The recipe, examples/csharp/take_a_picture.cs, on every kind of hardware and in all that can go wrong.

using System;
using System.IO;
using System.Linq;
using Solvane;

static class TakeAPictureTest
{
    // A kind of hardware, and what reads its lines: the function, how often a trigger calls it, and what it
    // answers when the hardware is lost.
    sealed class Kind
    {
        public string Scenario;
        public string Reads;
        public uint ReadsOfATrigger;
        public uint Lost;
    }

    static readonly Kind Usb =
        new Kind { Scenario = "[[usb]]\nchip = 'FT2232H'\n", Reads = "FT_Write", ReadsOfATrigger = 4 };
    static readonly Kind Port =
        new Kind { Scenario = "[lpt]\n", Reads = "Inp32", ReadsOfATrigger = 3, Lost = 0xFF };
    static readonly Kind SuperIo =
        new Kind { Scenario = "[superio]\n", Reads = "Inp32", ReadsOfATrigger = 4, Lost = 0xFF };
    static readonly Kind Eapi =
        new Kind { Scenario = "[eapi]\n", Reads = "EApiGPIOGetLevel", ReadsOfATrigger = 2, Lost = ~0u };
    static readonly Kind[] Kinds = { Usb, Port, SuperIo, Eapi };
    const uint Questions = 2; // before the trigger: ready, and the flag

    static int Main()
    {
        return Expect.Run(ACameraThatTakesIt, AFlagThatIsUpBefore, ACameraThatIsNotReady,
                          ACameraThatNeverRaisesTheFlag, AFlagThatIsStuck, HardwareThatLeavesAfterTheTrigger,
                          APortThatReadsZeroAfterTheTrigger, ATriggerLineThatCannotBeWritten, NoHardware);
    }

    // Runs the program on hardware that the host knows already.
    static void Take(string scenario, int outcome, uint captures, string reason, Action fail = null)
    {
        Rig.Load(scenario);
        try
        {
            SolvaneCamera.RecheckStatus();
        }
        catch (SolvaneException)
        {
            // there is none
        }
        Rig.ClearJournal();
        if (fail != null)
        {
            fail();
        }
        TextWriter output = Console.Out;
        TextWriter error = Console.Error;
        StringWriter printed = new StringWriter();
        StringWriter complaint = new StringWriter();
        int result;
        try
        {
            Console.SetOut(printed);
            Console.SetError(complaint);
            result = TakeAPicture.Main();
        }
        finally
        {
            Console.SetOut(output);
            Console.SetError(error);
        }
        Expect.Equal(outcome, result);
        Expect.Equal(captures, Rig.Captures);
        Expect.Equal(outcome == TakeAPicture.Taken ? "taken" : "", printed.ToString().Trim());
        Expect.Contains(reason, complaint.ToString());
        Expect.Equal(captures, (uint)Rig.Journal().Count(each => each.Text == "trigger 1"));
    }

    static void OnEveryKind(string camera, int outcome, uint captures, string reason)
    {
        foreach (Kind kind in Kinds)
        {
            Take(camera + kind.Scenario, outcome, captures, reason);
        }
    }

    static void ACameraThatTakesIt()
    {
        OnEveryKind("", TakeAPicture.Taken, 1, "");
    }

    static void AFlagThatIsUpBefore()
    {
        foreach (Kind kind in Kinds)
        {
            Take(kind.Scenario, TakeAPicture.Taken, 1, "", () =>
            {
                Expect.Equal(0, Rig.Command("mep latch").ExitCode);
                Expect.Equal(true, Rig.Level(RigLine.Mep));
            });
        }
    }

    static void ACameraThatIsNotReady()
    {
        Take("[camera]\nready = false\n" + Usb.Scenario, TakeAPicture.NotTriggered, 0,
             "not ready; the hardware answers with status 0");
    }

    static void ACameraThatNeverRaisesTheFlag()
    {
        Take("[camera]\nmep = 'never'\n" + Eapi.Scenario, TakeAPicture.Unconfirmed, 1,
             "triggered, but not confirmed; the hardware answers with status 0");
    }

    static void AFlagThatIsStuck()
    {
        Take(SuperIo.Scenario, TakeAPicture.NotTriggered, 0,
             "the MEP flag cannot be taken down; the hardware answers with status 0",
             () => Rig.Force(RigLine.Mep, true));
    }

    static void HardwareThatLeavesAfterTheTrigger()
    {
        const string Reason = "triggered, but not confirmed; the hardware answers with status -3";
        foreach (Kind kind in new[] { Port, SuperIo, Eapi })
        {
            Take(kind.Scenario, TakeAPicture.Unconfirmed, 1, Reason, () =>
            {
                Rig.AddFault(kind.Reads, status: kind.Lost, call: FirstReadAfterTheTrigger(kind), times: 0);
                if (kind == Eapi)
                {
                    Rig.AddFault("EApiLibInitialize", status: kind.Lost, times: 0);
                }
            });
        }
        Rig.Load(Usb.Scenario);
        SolvaneCamera.RecheckStatus();
        Take(Usb.Scenario + "[[event]]\naction = 'unplug 0'\nbefore = 'FT_Write'\ncall = " +
             FirstReadAfterTheTrigger(Usb) + "\n", TakeAPicture.Unconfirmed, 1, Reason);
    }

    // Dead ports read as a flag, and as one that stays.
    static void APortThatReadsZeroAfterTheTrigger()
    {
        Take(Port.Scenario, TakeAPicture.Unconfirmed, 1,
             "triggered, but not confirmed; the hardware answers with status -3",
             () => Rig.AddFault("Inp32", status: 0, call: FirstReadAfterTheTrigger(Port), times: 0));
    }

    static uint FirstReadAfterTheTrigger(Kind kind)
    {
        return Rig.Calls(kind.Reads) + Questions + kind.ReadsOfATrigger + 1;
    }

    static void ATriggerLineThatCannotBeWritten()
    {
        // The write that lowers the line fails: it stays high until the recipe sets the lines to rest.
        Take(Eapi.Scenario, TakeAPicture.Taken, 1, "", () =>
            Rig.AddFault("EApiGPIOSetLevel", status: ~0u, call: Rig.Calls("EApiGPIOSetLevel") + 2));
        Expect.Equal(false, Rig.Level(RigLine.Trigger));
    }

    static void NoHardware()
    {
        Take("", TakeAPicture.NotTriggered, 0, "not triggered; the hardware answers with status -3");
    }
}
