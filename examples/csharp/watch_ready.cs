// Prints "system ready" and each of its changes: watch_ready [seconds, 10 by default]

using System;
using System.Diagnostics;
using System.Globalization;
using System.Threading;
using Solvane;

static class WatchReady
{
    static int Main(string[] arguments)
    {
        double seconds = arguments.Length > 0
            ? double.Parse(arguments[0], CultureInfo.InvariantCulture) : 10;
        Stopwatch watch = Stopwatch.StartNew();
        bool? before = null; // the first answer is a change
        try
        {
            while (watch.Elapsed.TotalSeconds < seconds)
            {
                bool ready = SolvaneCamera.CheckSystemReady();
                if (ready != before)
                {
                    Console.WriteLine(ready ? "ready" : "not ready");
                    before = ready;
                }
                Thread.Sleep(20); // the question takes about 2 ms
            }
            return 0;
        }
        catch (SolvaneException error)
        {
            Console.Error.WriteLine(error.Message);
            return 1;
        }
    }
}
