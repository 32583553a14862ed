// Triggers one capture, if the system is ready for it.

using System;
using Solvane;

static class Trigger
{
    static int Main()
    {
        try
        {
            // One call does it all: it finds the hardware, asks whether the system is ready, clears a
            // latched MEP flag, gives the pulse, and returns when the trigger line is low again.
            SolvaneCamera.TriggerCapture();
            Console.WriteLine("triggered"); // the MEP flag tells whether a picture was taken
            return 0;
        }
        catch (SolvaneException error)
        {
            Console.Error.WriteLine(error.Status == SolvaneStatus.NotReady
                ? "not ready: try again later" // and no line was touched
                : error.Message);
            return 1;
        }
    }
}
