// Ends of a process inside a call, most while a timer runs. The first argument says how it ends; the exit code is 7.

using System;
using System.Threading;
using Solvane;

static class ExitRules
{
    const uint Period = 2000;
    const int ExitCode = 7;

    static int Main(string[] arguments)
    {
        int lines = 0;
        SolvaneLogger logger = new SolvaneLogger(line => // is there until the end
        {
            if (Interlocked.Increment(ref lines) == 1 && arguments[0] == "exit-in-log")
            {
                Environment.Exit(ExitCode);
            }
            throw new FormatException(line);
        });
        switch (arguments[0])
        {
            case "main-returns": RunUntil(BeginRun); break;
            case "exit-beside": RunUntil(BeginRun); Environment.Exit(ExitCode); break;
            case "exit-inside": Run(number => { if (number == 3) Environment.Exit(ExitCode); }); break;
            case "collected": RunUntil(BeginRunThatFails); Collect(() => lines); break;
            case "not-collected": RunUntil(BeginRunThatFails); break;
            case "exit-in-log": SolvaneCamera.CheckAvailable(); return 1;
            case "unhandled": Run(number => { throw new FormatException("out of event " + number); }); break;
            default: return 2;
        }
        GC.KeepAlive(logger);
        return ExitCode;
    }

    static void Run(Action<int> onEvent)
    {
        SolvaneTimer timer = new SolvaneTimer();
        timer.Run(Period, timerEvent => onEvent(timerEvent.data0));
    }

    static void RunUntil(Action<ManualResetEvent> begin)
    {
        ManualResetEvent begun = new ManualResetEvent(false);
        begin(begun);
        begun.WaitOne();
        Console.WriteLine("begun");
    }

    // Nobody ends this one: it is on a background thread.
    static void BeginRun(ManualResetEvent begun)
    {
        Thread thread = new Thread(() => Run(number => { if (number == 3) begun.Set(); }));
        thread.IsBackground = true;
        thread.Start();
    }

    // On a thread of its own, so that no reference stays on the stack.
    static void BeginRunThatFails(ManualResetEvent begun)
    {
        Thread thread = new Thread(() =>
        {
            try
            {
                Run(number => { throw new FormatException("out of event " + number); });
            }
            catch (FormatException)
            {
                Console.WriteLine("failed");
            }
        });
        thread.Start();
        thread.Join();
        begun.Set();
    }

    static void Collect(Func<int> lines)
    {
        int before = lines();
        GC.Collect();
        GC.WaitForPendingFinalizers();
        Console.WriteLine("lines about the disposal: " + (lines() - before));
    }
}
