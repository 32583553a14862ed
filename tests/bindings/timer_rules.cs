// What Solvane.cs promises of timers and log functions, beyond the C interface.

using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Threading;
using Solvane;

static class TimerRules
{
    const uint Period = 2000;

    static int Main(string[] arguments)
    {
        switch (arguments.Length > 0 ? arguments[0] : "")
        {
            case "lost": Lost(); break;
            case "lost-in-the-driver": LostInTheDriver(); break;
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
            return SolvaneStatus.Ok;
        }
        catch (SolvaneException error)
        {
            return error.Status;
        }
    }

    static void Rules()
    {
        List<SolvaneTimerEvent> seen = new List<SolvaneTimerEvent>();
        SolvaneTimer timer = new SolvaneTimer();
        Action<SolvaneTimerEvent> three = timerEvent =>
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
        using (new SolvaneLogger(line => { called = true; throw new FormatException(line); }))
        {
            StatusOf(SolvaneCamera.CheckAvailable);
        }
        Console.WriteLine("log function that throws: " + (called ? "called" : "not called"));
    }

    static void Lost()
    {
        int events = 0;
        using (SolvaneTimer timer = new SolvaneTimer())
        {
            timer.Run(Period, timerEvent => { events++; timer.Stop(); });
        }
        Console.WriteLine("lost stop: " + events + " events");
    }

    // A stop that comes while the library asks the driver for its timer is lost. How long that takes is the
    // driver's affair, so stops come after longer and longer delays, until some were lost without SolvaneTimer.
    static void LostInTheDriver()
    {
        const int Enough = 10;
        int lost = 0;
        int wentOn = 0;
        for (int round = 0; round < 5000 && lost < Enough; round++)
        {
            long ticks = Stopwatch.Frequency / 1000000 * 5 * (round % 100);
            lost += PlainRunGoesOn(ticks) ? 1 : 0;
            wentOn += RunGoesOn(ticks) ? 1 : 0;
        }
        Console.WriteLine("stops of the C interface that were lost: " + lost);
        Console.WriteLine("runs of SolvaneTimer that went on after a stop: " + wentOn);
    }

    static bool PlainRunGoesOn(long ticks)
    {
        ulong handle;
        SolvaneNative.Solvane_CreateTimer(out handle, 0);
        AfterStop after = new AfterStop(() => SolvaneNative.Solvane_StopTimer(handle));
        SolvaneNative.TimerCallback onEvent =
            delegate(ulong context, ref SolvaneTimerEvent timerEvent) { after.OnEvent(); };
        short status = SolvaneStatus.Invalid;
        StopBesideRun(ticks, after, () => SolvaneNative.Solvane_RunTimer(handle, Period, onEvent),
                      () => status = SolvaneNative.Solvane_StopTimer(handle));
        SolvaneNative.Solvane_DisposeTimer(handle);
        return status == SolvaneStatus.Ok && after.RunGoesOn;
    }

    static bool RunGoesOn(long ticks)
    {
        using (SolvaneTimer timer = new SolvaneTimer())
        {
            AfterStop after = new AfterStop(timer.Stop);
            StopBesideRun(ticks, after, () => timer.Run(Period, timerEvent => after.OnEvent()), timer.Stop);
            return after.RunGoesOn;
        }
    }

    static void StopBesideRun(long ticks, AfterStop after, Action run, Action stop)
    {
        ManualResetEventSlim begun = new ManualResetEventSlim();
        Thread thread = new Thread(() =>
        {
            begun.Set();
            run();
        });
        thread.Start();
        begun.Wait();
        Stopwatch watch = Stopwatch.StartNew();
        while (watch.ElapsedTicks < ticks)
        {
        }
        stop();
        after.Stopped = true;
        thread.Join();
    }

    // The events of a run after a stop. One may be on its way when the stop comes; the second ends the run.
    sealed class AfterStop
    {
        public volatile bool Stopped;
        private readonly Action stop;
        private int events;

        public AfterStop(Action endRun)
        {
            stop = endRun;
        }

        public bool RunGoesOn
        {
            get { return events >= 2; }
        }

        public void OnEvent()
        {
            if (Stopped && ++events == 2)
            {
                stop();
            }
        }
    }

    static void OtherThread()
    {
        ManualResetEvent begun = new ManualResetEvent(false);
        bool ended = false;
        SolvaneTimer timer = new SolvaneTimer();
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
