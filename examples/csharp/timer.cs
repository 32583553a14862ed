// Runs a timer of the driver's until ten events have come, and prints how each trigger went.

using System;
using Solvane;

static class TimerExample
{
    const uint Parameter = 20000; // the rig's driver takes it for microseconds

    static int Main()
    {
        int events = 0;
        try
        {
            using (new SolvaneLogger(line => Console.Error.WriteLine(line)))
            using (SolvaneTimer timer = new SolvaneTimer()) // throws when the driver is not installed
            {
                timer.Run(Parameter, timerEvent => // blocks until the stop
                {
                    events++;
                    Console.WriteLine("event " + events + ": status " + timerEvent.status);
                    if (events == 10)
                    {
                        timer.Stop(); // the run ends when this function returns
                    }
                });
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
