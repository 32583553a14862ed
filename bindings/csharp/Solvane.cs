// Solvane.dll for C# on 64-bit Windows: .NET Framework, .NET or Mono. Add this one file to a project
// that is built for x64, and put Solvane.dll beside the program.
//
// What solvane.h says about lines, times and threads holds here too. In short:
//
// - Camera has the functions of solvane.h under their own names. A status other than 0 is thrown as a
//   SolvaneException; questions return bool.
// - One thread at a time, except for timers: this wrapper adds no lock.
// - An exception in a timer's callback ends the run, and Timer.Run rethrows it. In a log callback it is
//   dropped. Neither travels through the library.

using System;
using System.Runtime.ExceptionServices;
using System.Runtime.InteropServices;
using System.Threading;

namespace Solvane
{
    /// <summary>The statuses of solvane.h.</summary>
    public static class Status
    {
        public const short Ok = 0;
        public const short Undetermined = -1;
        public const short Write = -2;
        public const short NoHardware = -3;
        public const short Invalid = -4;
        public const short NotReady = -5;

        public static string Meaning(short status)
        {
            switch (status)
            {
                case Ok: return "the lines did what was asked";
                case Undetermined:
                    return "the state asked for could not be determined, or a timer failed";
                case Write: return "a line could not be written, or the serial channel not be reset";
                case NoHardware:
                    return "the hardware was not found, or could not be opened and configured";
                case Invalid: return "a null pointer, or a timer that is not there or not running";
                case NotReady: return "the system is not ready";
                default: return "a status that this class does not know";
            }
        }
    }

    /// <summary>Thrown for a status other than 0; names the function that returned it.</summary>
    public class SolvaneException : Exception
    {
        public SolvaneException(string function, short status)
            : base(function + ": status " + status + ": " + Solvane.Status.Meaning(status))
        {
            Function = function;
            Status = status;
        }

        public string Function { get; private set; }
        public short Status { get; private set; }
    }

    /// <summary>One event of a timer: the driver's status, and four words of its own.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct TimerEvent
    {
        public short status;
        public ushort initialStatusOk;
        public ushort data0;
        public ushort data1;
        public ushort data2;
        public ushort data3;
    }

    /// <summary>The C interface, unchanged.</summary>
    public static class Native
    {
        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate void LogCallback(IntPtr context, IntPtr line);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate void TimerCallback(ulong userContext, [In] ref TimerEvent timerEvent);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern void Solvane_SetLogger(IntPtr context, LogCallback callback);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckAvailable();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckPowerControlAvailable();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_RecheckStatus();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern void Solvane_EnforceFTDI();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_TriggerCapture();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckSystemReady(out short ready);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckAndResetMepFlag(out short flag);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_WakeCamera();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_EnableForcedBlackUpdate();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisableForcedBlackUpdate();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckForcedBlackUpdate(out short on);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_EnableCameraPower();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisableCameraPower();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckCameraPower(out short on);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_EnableAccessoriesPower();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisableAccessoriesPower();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckAccessoriesPower(out short on);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CloseDevice();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_ResetComPort();

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CreateTimer(out ulong timer, ulong userContext);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_RunTimer(ulong timer, uint timerParameter,
                                                    TimerCallback callback);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_StopTimer(ulong timer);

        [DllImport("Solvane.dll", CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisposeTimer(ulong timer);
    }

    /// <summary>The control lines of the camera.</summary>
    public static class Camera
    {
        // ---- Finding the hardware

        /// <summary>Finds and configures the hardware; throws when there is none.</summary>
        public static void CheckAvailable()
        {
            Check("Solvane_CheckAvailable", Native.Solvane_CheckAvailable());
        }

        /// <summary>Checks that camera and accessories power can be switched; throws when they cannot.</summary>
        public static void CheckPowerControlAvailable()
        {
            Check("Solvane_CheckPowerControlAvailable", Native.Solvane_CheckPowerControlAvailable());
        }

        /// <summary>Looks for the hardware again, from the first kind.</summary>
        public static void RecheckStatus()
        {
            Check("Solvane_RecheckStatus", Native.Solvane_RecheckStatus());
        }

        /// <summary>Chooses the FT2232H, whether it is there or not.</summary>
        public static void EnforceFTDI()
        {
            Native.Solvane_EnforceFTDI();
        }

        // ---- Capture

        /// <summary>Triggers one capture; Status.NotReady when the system is not ready.</summary>
        public static void TriggerCapture()
        {
            Check("Solvane_TriggerCapture", Native.Solvane_TriggerCapture());
        }

        /// <summary>Whether the system is ready for a trigger.</summary>
        public static bool CheckSystemReady()
        {
            short ready;
            Check("Solvane_CheckSystemReady", Native.Solvane_CheckSystemReady(out ready));
            return ready != 0;
        }

        /// <summary>Whether the MEP flag was latched. Clears it if it was.</summary>
        public static bool CheckAndResetMepFlag()
        {
            short flag;
            Check("Solvane_CheckAndResetMepFlag", Native.Solvane_CheckAndResetMepFlag(out flag));
            return flag != 0;
        }

        /// <summary>Wakes the camera with a short pulse on the dark line.</summary>
        public static void WakeCamera()
        {
            Check("Solvane_WakeCamera", Native.Solvane_WakeCamera());
        }

        // ---- Forced black update (dark)

        public static void EnableForcedBlackUpdate()
        {
            Check("Solvane_EnableForcedBlackUpdate", Native.Solvane_EnableForcedBlackUpdate());
        }

        public static void DisableForcedBlackUpdate()
        {
            Check("Solvane_DisableForcedBlackUpdate", Native.Solvane_DisableForcedBlackUpdate());
        }

        /// <summary>Whether the picture is forced dark.</summary>
        public static bool CheckForcedBlackUpdate()
        {
            short on;
            Check("Solvane_CheckForcedBlackUpdate", Native.Solvane_CheckForcedBlackUpdate(out on));
            return on != 0;
        }

        // ---- Power

        public static void EnableCameraPower()
        {
            Check("Solvane_EnableCameraPower", Native.Solvane_EnableCameraPower());
        }

        public static void DisableCameraPower()
        {
            Check("Solvane_DisableCameraPower", Native.Solvane_DisableCameraPower());
        }

        /// <summary>Whether camera power is on. A line that cannot be read: see rule 6 of solvane.h.</summary>
        public static bool CheckCameraPower()
        {
            short on;
            Check("Solvane_CheckCameraPower", Native.Solvane_CheckCameraPower(out on));
            return on != 0;
        }

        public static void EnableAccessoriesPower()
        {
            Check("Solvane_EnableAccessoriesPower", Native.Solvane_EnableAccessoriesPower());
        }

        public static void DisableAccessoriesPower()
        {
            Check("Solvane_DisableAccessoriesPower", Native.Solvane_DisableAccessoriesPower());
        }

        /// <summary>Whether accessories power is on. Also true when the line cannot be read.</summary>
        public static bool CheckAccessoriesPower()
        {
            short on;
            Check("Solvane_CheckAccessoriesPower", Native.Solvane_CheckAccessoriesPower(out on));
            return on != 0;
        }

        // ---- The device itself

        /// <summary>Closes the hardware, so that another program may use it.</summary>
        public static void CloseDevice()
        {
            Check("Solvane_CloseDevice", Native.Solvane_CloseDevice());
        }

        /// <summary>Resets the serial channel of the FT2232H.</summary>
        public static void ResetComPort()
        {
            Check("Solvane_ResetComPort", Native.Solvane_ResetComPort());
        }

        internal static void Check(string function, short status)
        {
            if (status != Status.Ok)
            {
                throw new SolvaneException(function, status);
            }
        }
    }

    /// <summary>
    /// Passes the library's log lines to a function until it is disposed of. There is one log function
    /// in the process: a second Logger takes over from the first. Make it before the first other call,
    /// to see how the hardware was chosen, and neither make nor dispose of it while a call or a timer
    /// is in progress. Rule 7 of solvane.h says what the function may call in the library. While timers
    /// run, it is called on their threads as well.
    /// </summary>
    public sealed class Logger : IDisposable
    {
        // Keeps the delegate alive while the library may call it.
        private static Native.LogCallback installed;

        private readonly Native.LogCallback callback;

        static Logger()
        {
            // The library also logs when it is unloaded, and the runtime is gone by then.
            AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => Remove();
        }

        public Logger(Action<string> onLine)
        {
            if (onLine == null)
            {
                throw new ArgumentNullException("onLine");
            }
            callback = (context, line) =>
            {
                try
                {
                    onLine(Marshal.PtrToStringAnsi(line));
                }
                catch (Exception)
                {
                    // A line may be in mid-pulse: a failed log must not disturb it.
                }
            };
            Native.Solvane_SetLogger(IntPtr.Zero, callback);
            installed = callback;
        }

        public void Dispose()
        {
            if (installed == callback)
            {
                Remove();
            }
        }

        private static void Remove()
        {
            if (installed != null)
            {
                Native.Solvane_SetLogger(IntPtr.Zero, null);
                installed = null;
            }
        }
    }

    /// <summary>
    /// A timer of the kernel driver. Run blocks the thread that calls it and calls the host's function
    /// on that thread; Stop may be called from any thread. The library loses a stop that comes just
    /// before a run has begun. This class remembers it, and ends the run at the next event without
    /// delivering that event.
    /// </summary>
    public sealed class Timer : IDisposable
    {
        private readonly object state = new object(); // guards the fields below
        private ulong handle;
        private Thread thread; // of the run in progress
        private bool stopped;

        /// <summary>Opens the driver; Status.Undetermined on failure, with the reason in the log.</summary>
        public Timer()
        {
            Camera.Check("Solvane_CreateTimer", Native.Solvane_CreateTimer(out handle, 0));
        }

        ~Timer()
        {
            if (handle != 0) // no run in progress: a run holds a reference
            {
                Native.Solvane_DisposeTimer(handle);
            }
        }

        /// <summary>
        /// Calls the function for each event, until Stop or an exception out of it, which Run rethrows.
        /// </summary>
        public void Run(uint parameter, Action<TimerEvent> onEvent)
        {
            if (onEvent == null)
            {
                throw new ArgumentNullException("onEvent");
            }
            ExceptionDispatchInfo thrown = null;
            Native.TimerCallback callback = delegate(ulong userContext, ref TimerEvent timerEvent)
            {
                try
                {
                    if (StopWasLost())
                    {
                        Native.Solvane_StopTimer(handle);
                        return;
                    }
                    onEvent(timerEvent);
                }
                catch (Exception exception)
                {
                    thrown = ExceptionDispatchInfo.Capture(exception);
                    Stop();
                }
            };
            lock (state)
            {
                if (thread != null || handle == 0)
                {
                    throw new SolvaneException("Solvane_RunTimer", Status.Invalid);
                }
                if (stopped)
                {
                    stopped = false;
                    return;
                }
                thread = Thread.CurrentThread;
            }
            short status;
            try
            {
                status = Native.Solvane_RunTimer(handle, parameter, callback);
            }
            finally
            {
                lock (state)
                {
                    thread = null;
                    stopped = false;
                    Monitor.PulseAll(state);
                }
            }
            GC.KeepAlive(callback); // the library may call it until here
            if (thrown != null)
            {
                thrown.Throw();
            }
            Camera.Check("Solvane_RunTimer", status);
        }

        /// <summary>
        /// Ends the run in progress; if there is none, the next run ends at once. Does not wait.
        /// </summary>
        public void Stop()
        {
            lock (state)
            {
                stopped = true;
                if (thread != null)
                {
                    Native.Solvane_StopTimer(handle);
                }
            }
        }

        /// <summary>Stops a run on another thread and waits for its end.</summary>
        public void Dispose()
        {
            lock (state)
            {
                if (thread == Thread.CurrentThread)
                {
                    throw new InvalidOperationException(
                        "A timer cannot be disposed of by its own function: stop it.");
                }
                while (thread != null)
                {
                    Stop();
                    Monitor.Wait(state);
                }
                if (handle != 0)
                {
                    Native.Solvane_DisposeTimer(handle);
                    handle = 0;
                }
            }
            GC.SuppressFinalize(this);
        }

        private bool StopWasLost()
        {
            lock (state)
            {
                return stopped;
            }
        }
    }
}
