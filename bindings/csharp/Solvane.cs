// Solvane.dll for C# on 64-bit Windows: .NET Framework 4.5 and later, .NET or Mono. Add this one file to a
// project that is built for x64 (C# 5 will do), and put Solvane.dll beside the program. README.md says more.
//
// What solvane.h says about lines, times and threads holds here too. In short:
//
// - SolvaneCamera has the functions of solvane.h under their own names. A status other than 0 is thrown
//   as a SolvaneException; questions return bool.
// - One thread at a time, except for timers: this wrapper adds no lock.
// - An exception in a timer's callback ends the run, and SolvaneTimer.Run rethrows it. In a log callback
//   it is dropped. Neither travels through the library.
//
// Every type begins with "Solvane", because Camera, Timer and the like are names of the framework's.

using System;
using System.Runtime.CompilerServices;
using System.Runtime.ExceptionServices;
using System.Runtime.InteropServices;
using System.Threading;

namespace Solvane
{
    /// <summary>The statuses of solvane.h.</summary>
    public static class SolvaneStatus
    {
        /// <summary>Success; never thrown.</summary>
        public const short Ok = 0;
        /// <summary>A state could not be determined, or a timer failed.</summary>
        public const short Undetermined = -1;
        /// <summary>A line could not be written. A trigger's may have stayed high.</summary>
        public const short Write = -2;
        /// <summary>The hardware was not found, or could not be opened and configured.</summary>
        public const short NoHardware = -3;
        /// <summary>A timer that was disposed of or has a run already.</summary>
        public const short Invalid = -4;
        /// <summary>A trigger was refused because the system is not ready.</summary>
        public const short NotReady = -5;

        /// <summary>A sentence for people.</summary>
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
        /// <param name="function">The function of solvane.h.</param>
        /// <param name="status">Its status, one of SolvaneStatus.</param>
        public SolvaneException(string function, short status)
            : base(function + ": status " + status + ": " + SolvaneStatus.Meaning(status))
        {
            Function = function;
            Status = status;
        }

        /// <summary>The function of solvane.h, such as "Solvane_TriggerCapture".</summary>
        public string Function { get; private set; }

        /// <summary>What it returned, one of SolvaneStatus.</summary>
        public short Status { get; private set; }
    }

    /// <summary>One event of a timer, as in solvane.h.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct SolvaneTimerEvent
    {
        /// <summary>How the driver's trigger went, one of SolvaneStatus.</summary>
        public short status;
        /// <summary>1 if the driver said at the start of the run that all was well, else 0.</summary>
        public ushort initialStatusOk;
        /// <summary>The first of four words whose meaning is the driver's.</summary>
        public ushort data0;
        /// <summary>The second.</summary>
        public ushort data1;
        /// <summary>The third.</summary>
        public ushort data2;
        /// <summary>The fourth.</summary>
        public ushort data3;
    }

#pragma warning disable 1591 // described in solvane.h
    /// <summary>The C interface, unchanged.</summary>
    public static class SolvaneNative
    {
        private const string Library = "Solvane.dll"; // so no assembly may have this name

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate void LogCallback(IntPtr context, IntPtr line);

        [UnmanagedFunctionPointer(CallingConvention.StdCall)]
        public delegate void TimerCallback(ulong userContext, [In] ref SolvaneTimerEvent timerEvent);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern void Solvane_SetLogger(IntPtr context, LogCallback callback);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckAvailable();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckPowerControlAvailable();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_RecheckStatus();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern void Solvane_EnforceFTDI();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_TriggerCapture();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckSystemReady(out short ready);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckAndResetMepFlag(out short flag);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_WakeCamera();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_EnableForcedBlackUpdate();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisableForcedBlackUpdate();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckForcedBlackUpdate(out short on);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_EnableCameraPower();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisableCameraPower();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckCameraPower(out short on);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_EnableAccessoriesPower();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisableAccessoriesPower();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CheckAccessoriesPower(out short on);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CloseDevice();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_ResetComPort();

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_CreateTimer(out ulong timer, ulong userContext);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_RunTimer(ulong timer, uint timerParameter,
                                                    TimerCallback callback);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_StopTimer(ulong timer);

        [DllImport(Library, CallingConvention = CallingConvention.StdCall, ExactSpelling = true)]
        public static extern short Solvane_DisposeTimer(ulong timer);
    }

#pragma warning restore 1591

    /// <summary>
    /// The control lines of the camera. Each function returns when the lines have their new levels, and throws
    /// a SolvaneException when they have not. One thread at a time; not the one that draws the user interface,
    /// because a call that meets lost hardware can take some seconds.
    /// </summary>
    public static class SolvaneCamera
    {
        // ---- Finding the hardware

        /// <summary>Finds and configures the hardware; throws when there is none.</summary>
        public static void CheckAvailable()
        {
            Check(SolvaneNative.Solvane_CheckAvailable());
        }

        /// <summary>Throws when camera and accessories power cannot be switched.</summary>
        public static void CheckPowerControlAvailable()
        {
            Check(SolvaneNative.Solvane_CheckPowerControlAvailable());
        }

        /// <summary>Looks for the hardware again, from the first kind.</summary>
        public static void RecheckStatus()
        {
            Check(SolvaneNative.Solvane_RecheckStatus());
        }

        /// <summary>Chooses the FT2232H, whether it is there or not.</summary>
        public static void EnforceFTDI()
        {
            SolvaneNative.Solvane_EnforceFTDI();
        }

        // ---- Capture

        /// <summary>
        /// Triggers one capture, in about 18 ms; SolvaneStatus.NotReady when the system is not ready.
        /// </summary>
        public static void TriggerCapture()
        {
            Check(SolvaneNative.Solvane_TriggerCapture());
        }

        /// <summary>Whether the system is ready for a trigger.</summary>
        public static bool CheckSystemReady()
        {
            short ready;
            Check(SolvaneNative.Solvane_CheckSystemReady(out ready));
            return ready != 0;
        }

        /// <summary>Whether the MEP flag was latched. Clears it if it was.</summary>
        public static bool CheckAndResetMepFlag()
        {
            short flag;
            Check(SolvaneNative.Solvane_CheckAndResetMepFlag(out flag));
            return flag != 0;
        }

        /// <summary>Wakes the camera with a short pulse on the dark line.</summary>
        public static void WakeCamera()
        {
            Check(SolvaneNative.Solvane_WakeCamera());
        }

        // ---- Forced black update (dark)

        /// <summary>Forces the picture dark.</summary>
        public static void EnableForcedBlackUpdate()
        {
            Check(SolvaneNative.Solvane_EnableForcedBlackUpdate());
        }

        /// <summary>Stops forcing the picture dark.</summary>
        public static void DisableForcedBlackUpdate()
        {
            Check(SolvaneNative.Solvane_DisableForcedBlackUpdate());
        }

        /// <summary>Whether the picture is forced dark.</summary>
        public static bool CheckForcedBlackUpdate()
        {
            short on;
            Check(SolvaneNative.Solvane_CheckForcedBlackUpdate(out on));
            return on != 0;
        }

        // ---- Power

        /// <summary>Switches camera power on.</summary>
        public static void EnableCameraPower()
        {
            Check(SolvaneNative.Solvane_EnableCameraPower());
        }

        /// <summary>Switches camera power off.</summary>
        public static void DisableCameraPower()
        {
            Check(SolvaneNative.Solvane_DisableCameraPower());
        }

        /// <summary>Whether camera power is on. Of an unread line: rule 6 of solvane.h.</summary>
        public static bool CheckCameraPower()
        {
            short on;
            Check(SolvaneNative.Solvane_CheckCameraPower(out on));
            return on != 0;
        }

        /// <summary>Switches accessories power on.</summary>
        public static void EnableAccessoriesPower()
        {
            Check(SolvaneNative.Solvane_EnableAccessoriesPower());
        }

        /// <summary>Switches accessories power off.</summary>
        public static void DisableAccessoriesPower()
        {
            Check(SolvaneNative.Solvane_DisableAccessoriesPower());
        }

        /// <summary>Whether accessories power is on. Also true when the line cannot be read.</summary>
        public static bool CheckAccessoriesPower()
        {
            short on;
            Check(SolvaneNative.Solvane_CheckAccessoriesPower(out on));
            return on != 0;
        }

        // ---- The device itself

        /// <summary>Closes the hardware, so that another program may use it.</summary>
        public static void CloseDevice()
        {
            Check(SolvaneNative.Solvane_CloseDevice());
        }

        /// <summary>Resets the serial channel of the FT2232H.</summary>
        public static void ResetComPort()
        {
            Check(SolvaneNative.Solvane_ResetComPort());
        }

        internal static void Check(short status, [CallerMemberName] string function = "")
        {
            if (status != SolvaneStatus.Ok)
            {
                throw new SolvaneException("Solvane_" + function, status);
            }
        }
    }

    /// <summary>
    /// Passes the library's log lines to a function until it is disposed of. There is one log function
    /// in the process: a second SolvaneLogger takes over from the first. Make it before the first other
    /// call, to see how the hardware was chosen, and neither make nor dispose of it while a call or a timer
    /// is in progress. Rule 7 of solvane.h says what the function may call in the library. It is called on
    /// the thread that called the library, in the middle of an operation; while timers run, on their threads
    /// as well. A program that ends without disposing of it logs until then.
    /// </summary>
    public sealed class SolvaneLogger : IDisposable
    {
        // Keeps the delegate alive while the library may call it.
        private static SolvaneNative.LogCallback installed;

        private readonly SolvaneNative.LogCallback callback;

        static SolvaneLogger()
        {
            // The library also logs when it is unloaded, and the runtime is gone by then. The delegate
            // stays alive, because a run on another thread may be logging.
            AppDomain.CurrentDomain.ProcessExit += (sender, arguments) =>
            {
                if (installed != null)
                {
                    SolvaneNative.Solvane_SetLogger(IntPtr.Zero, null);
                }
            };
        }

        /// <summary>Logs from now on.</summary>
        /// <param name="onLine">
        /// Gets each line, which begins with the local time, without a line break at its end.
        /// </param>
        public SolvaneLogger(Action<string> onLine)
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
            SolvaneNative.Solvane_SetLogger(IntPtr.Zero, callback);
            installed = callback;
        }

        /// <summary>Ends logging, unless another SolvaneLogger has taken over.</summary>
        public void Dispose()
        {
            if (installed == callback)
            {
                SolvaneNative.Solvane_SetLogger(IntPtr.Zero, null);
                installed = null;
            }
        }
    }

    /// <summary>
    /// A timer of the kernel driver. Run blocks the thread that calls it and calls the host's function
    /// on that thread; Stop may be called from any thread. The library loses a stop that comes just
    /// before a run has begun. This class remembers it, and ends the run at the next event without
    /// delivering that event.
    /// A run on a thread that is no background thread keeps the process alive, as everything on such a thread
    /// does. With its process, a run ends without further events.
    /// </summary>
    public sealed class SolvaneTimer : IDisposable
    {
        private readonly object state = new object(); // guards the fields below
        private ulong handle;
        private Thread thread; // of the run in progress
        private bool stopped;

        /// <summary>
        /// Opens the driver; SolvaneStatus.Undetermined on failure, with the reason in the log.
        /// </summary>
        public SolvaneTimer()
        {
            SolvaneCamera.Check(SolvaneNative.Solvane_CreateTimer(out handle, 0), "CreateTimer");
        }

        /// <summary>Disposes of a timer that nobody else has disposed of, before the process ends.</summary>
        ~SolvaneTimer()
        {
            // A run holds a reference, but .NET Framework and Mono finalize everything when the process ends,
            // runs on background threads or not.
            if (handle != 0 && !Environment.HasShutdownStarted)
            {
                SolvaneNative.Solvane_DisposeTimer(handle);
            }
        }

        /// <summary>
        /// Calls the function for each event, until Stop or an exception out of it, which Run rethrows.
        /// </summary>
        /// <param name="parameter">Passed to the driver as it is; its unit is the driver's.</param>
        /// <param name="onEvent">Called on this thread.</param>
        public void Run(uint parameter, Action<SolvaneTimerEvent> onEvent)
        {
            if (onEvent == null)
            {
                throw new ArgumentNullException("onEvent");
            }
            ExceptionDispatchInfo thrown = null;
            SolvaneNative.TimerCallback callback = delegate(ulong context, ref SolvaneTimerEvent timerEvent)
            {
                try
                {
                    if (StopWasLost())
                    {
                        SolvaneNative.Solvane_StopTimer(handle);
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
                    throw new SolvaneException("Solvane_RunTimer", SolvaneStatus.Invalid);
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
                status = SolvaneNative.Solvane_RunTimer(handle, parameter, callback);
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
            SolvaneCamera.Check(status, "RunTimer");
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
                    SolvaneNative.Solvane_StopTimer(handle);
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
                    SolvaneNative.Solvane_DisposeTimer(handle);
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
