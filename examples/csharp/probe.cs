// Finds the hardware and prints the state of every line that can be read.
//
// It asks and switches nothing, but finding the hardware sets trigger and clear-MEP to rest, and on a
// mainboard switches both powers on and dark off.

using System;
using Solvane;

static class Probe
{
    static int Main()
    {
        try
        {
            // The first call looks for the hardware and configures it; later calls use what it found.
            // It throws when there is none.
            SolvaneCamera.CheckAvailable();
            Console.WriteLine("available: yes");
            Console.WriteLine("power control: " + (CanSwitchPower() ? "yes" : "no"));

            // Asking for the MEP flag would clear it, so a probe leaves it alone.
            Console.WriteLine("ready: " + (SolvaneCamera.CheckSystemReady() ? "yes" : "no"));
            Console.WriteLine("dark: " + (SolvaneCamera.CheckForcedBlackUpdate() ? "on" : "off"));
            Console.WriteLine("camera power: " + (SolvaneCamera.CheckCameraPower() ? "on" : "off"));
            Console.WriteLine("accessories power: " + (SolvaneCamera.CheckAccessoriesPower() ? "on" : "off"));
            return 0;
        }
        catch (SolvaneException error)
        {
            Console.Error.WriteLine(error.Message); // the function, the status and what it means
            return 1;
        }
    }

    static bool CanSwitchPower()
    {
        try
        {
            SolvaneCamera.CheckPowerControlAvailable();
            return true;
        }
        catch (SolvaneException)
        {
            return false; // an answer here, not a failure
        }
    }
}
