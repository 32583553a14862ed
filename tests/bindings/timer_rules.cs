// What Solvane.cs promises of timers and log functions, beyond the C interface.

using System;
using System.Collections.Generic;
using System.Threading;
using Solvane;
using Timer = Solvane.Timer;

static class TimerRules
{
    const uint Period = 2000;

    static int Main(string[] arguments)
    {
        switch (arguments.Length > 0 ? arguments[0] : "")
        {
            case "lost": Lost(); break;
            case "other-thread": OtherThread(); break;
            default: Rules(); break;
        }
        return 0;
    }

    static short StatusOf(Action call)
    {
        try
        {
            call();
            return Status.Ok;
        }
        catch (SolvaneException error)
        {
            return error.Status;
        }
    }

    static void Rules()
    {
        List<TimerEvent> seen = new List<TimerEvent>();
        Timer timer = new Timer();
        Action<TimerEvent> three = timerEvent =>
        {
            seen.Add(timerEvent);
            if (seen.Count == 3)
            {
                timer.Stop();
            }
        };
        timer.Stop();
        timer.Run(Period, three);
        Console.WriteLine("stopped before the run: " + seen.Count + " events");
        timer.Run(Period, three);
        Console.WriteLine("run again: " + seen.Count + " events, data0 " +
            string.Join(" ", seen.ConvertAll(each => each.data0.ToString()).ToArray()) +
            ", initial status " + seen[0].initialStatusOk);
        try
        {
            timer.Run(Period, timerEvent =>
            {
                if (timerEvent.data0 == 2)
                {
                    throw new FormatException("out of event 2");
                }
            });
        }
        catch (FormatException error)
        {
            Console.WriteLine("exception: " + error.Message);
        }
        timer.Run(Period, timerEvent =>
        {
            try
            {
                timer.Dispose();
            }
            catch (InvalidOperationException)
            {
                Console.WriteLine("disposed of in its own function: refused");
            }
            Console.WriteLine("run inside the run: status " +
                StatusOf(() => timer.Run(Period, three)));
            timer.Stop();
        });
        timer.Dispose();
        Console.WriteLine("run after disposal: status " + StatusOf(() => timer.Run(Period, three)));

        bool called = false;
        using (new Logger(line => { called = true; throw new FormatException(line); }))
        {
            StatusOf(Camera.CheckAvailable);
        }
        Console.WriteLine("log function that throws: " + (called ? "called" : "not called"));
    }

    static void Lost()
    {
        int events = 0;
        using (Timer timer = new Timer())
        {
            timer.Run(Period, timerEvent => { events++; timer.Stop(); });
        }
        Console.WriteLine("lost stop: " + events + " events");
    }

    static void OtherThread()
    {
        ManualResetEvent begun = new ManualResetEvent(false);
        bool ended = false;
        Timer timer = new Timer();
        Thread thread = new Thread(() =>
        {
            timer.Run(Period, timerEvent => begun.Set());
            ended = true;
        });
        thread.Start();
        begun.WaitOne();
        timer.Dispose();
        thread.Join();
        Console.WriteLine(ended ? "disposed of from another thread: the run has ended" : "");
    }
}
