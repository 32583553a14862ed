// Takes one picture and makes sure of it. The exit code is 0 if the MEP flag has confirmed it, 1 if the
// camera was not triggered, 2 if it was, or may have been, and nothing confirms it.
//
// It waits with Thread.Sleep: a program with a user interface does it on a thread of its own, as in
// keep_ui_alive.cs.

using System;
using System.Diagnostics;
using System.Threading;
using Solvane;

static class TakeAPicture
{
    public const int Taken = 0, NotTriggered = 1, Unconfirmed = 2;

    // What the camera of this installation needs; the library knows nothing of it.
    const int ReadyMs = 2000; // from one picture until it is ready again, at the longest
    const int MepMs = 1000;   // from the trigger until the MEP flag, at the longest
    const int PollMs = 5;     // between two questions

    public static int Main()
    {
        bool mayHaveTriggered = false;
        try
        {
            if (!WaitForYes(SolvaneCamera.CheckSystemReady, ReadyMs))
            {
                return End(NotTriggered, "not ready", SolvaneCamera.CheckAvailable);
            }

            // A flag that is up already would pass for this picture's.
            if (FlagIsStuck())
            {
                return End(NotTriggered, "the MEP flag cannot be taken down", SolvaneCamera.CheckAvailable);
            }

            mayHaveTriggered = Trigger();
            if (!mayHaveTriggered)
            {
                return End(NotTriggered, "not ready any more", SolvaneCamera.CheckAvailable);
            }

            // Ports whose driver has died can read as a flag too, as one that stays.
            if (WaitForYes(SolvaneCamera.CheckAndResetMepFlag, MepMs) && !FlagIsStuck())
            {
                Console.WriteLine("taken");
                return Taken;
            }
        }
        catch (SolvaneException error)
        {
            Console.Error.WriteLine(error.Message);
            if (!mayHaveTriggered)
            {
                return End(NotTriggered, "not triggered", SolvaneCamera.CheckAvailable);
            }
        }
        return End(Unconfirmed, "triggered, but not confirmed", SolvaneCamera.RecheckStatus);
    }

    // Asks until the answer is yes, or time is up. By the clock: a question can take some seconds.
    static bool WaitForYes(Func<bool> ask, int milliseconds)
    {
        Stopwatch watch = Stopwatch.StartNew();
        bool yes = ask();
        while (!yes && watch.ElapsedMilliseconds < milliseconds)
        {
            Thread.Sleep(PollMs);
            yes = ask();
        }
        return yes;
    }

    // Asking clears the flag, so the second answer is no, unless nothing can clear it.
    static bool FlagIsStuck()
    {
        return SolvaneCamera.CheckAndResetMepFlag() && SolvaneCamera.CheckAndResetMepFlag();
    }

    // False if no trigger was given.
    static bool Trigger()
    {
        try
        {
            SolvaneCamera.TriggerCapture();
        }
        catch (SolvaneException error)
        {
            if (error.Status == SolvaneStatus.NotReady || error.Status == SolvaneStatus.NoHardware)
            {
                return false;
            }
            // The trigger may have been given, and its line may still be high: put it to rest.
            StatusOf(SolvaneCamera.RecheckStatus);
        }
        return true;
    }

    static int End(int outcome, string what, Action ask)
    {
        Console.Error.WriteLine(what + "; the hardware answers with status " + StatusOf(ask));
        return outcome;
    }

    static short StatusOf(Action call)
    {
        try
        {
            call();
            return SolvaneStatus.Ok;
        }
        catch (SolvaneException error)
        {
            return error.Status;
        }
    }
}
