"""What solvane.py promises of timers and log functions, beyond the C interface."""

import sys
import threading

import solvane

PERIOD = 2000


def status_of(call, *arguments):
    try:
        call(*arguments)
    except solvane.Error as error:
        return error.status
    return solvane.OK


def rules():
    seen = []

    def three(event):
        seen.append(event)
        words.append(event.data0)
        initial.append(event.initialStatusOk)
        if len(seen) == 3:
            timer.stop()

    with solvane.Timer() as timer:
        words, initial = [], []
        timer.stop()
        timer.run(PERIOD, three)
        print(f"stopped before the run: {len(seen)} events")
        timer.run(PERIOD, three)
        print(f"run again: {len(seen)} events, data0 {' '.join(map(str, words))},"
              f" initial status {initial[0]}")

        def fail_at_two(event):
            if event.data0 == 2:
                raise KeyError("out of event 2")

        try:
            timer.run(PERIOD, fail_at_two)
        except KeyError as error:
            print("exception:", error.args[0])

        def in_function(event):
            try:
                timer.close()
            except RuntimeError:
                print("disposed of in its own function: refused")
            print("run inside the run: status", status_of(timer.run, PERIOD, in_function))
            timer.stop()

        timer.run(PERIOD, in_function)
    print("run after disposal: status", status_of(timer.run, PERIOD, three))

    called = []

    def bad_log(line):
        called.append(line)
        raise ValueError(line)

    with solvane.logger(bad_log):
        status_of(solvane.check_available)
    print("log function that throws:", "called" if called else "not called")


def lost():
    events = []

    def on_event(event):
        events.append(event.data0)
        timer.stop()

    with solvane.Timer() as timer:
        timer.run(PERIOD, on_event)
    print(f"lost stop: {len(events)} events")


def other_thread():
    begun = threading.Event()
    ended = []

    def run():
        timer.run(PERIOD, lambda event: begun.set())
        ended.append(True)

    timer = solvane.Timer()
    thread = threading.Thread(target=run)
    thread.start()
    begun.wait()
    timer.close()
    thread.join()
    print("disposed of from another thread: the run has ended" if ended else "")


def end_beside_a_run():
    solvane.set_logger(lambda line: None)
    begun = threading.Event()
    timer = solvane.Timer()
    threading.Thread(target=timer.run, args=(PERIOD, lambda event: begun.set()), daemon=True).start()
    begun.wait()
    sys.exit(3)


def end_in_the_function():
    with solvane.Timer() as timer:
        timer.run(PERIOD, lambda event: sys.exit(5))


def end_in_the_log():
    solvane.set_logger(lambda line: sys.exit(6))
    print("status", status_of(solvane.check_available))


{"lost": lost, "other-thread": other_thread, "end-beside": end_beside_a_run,
 "end-inside": end_in_the_function, "end-log": end_in_the_log}.get(sys.argv[-1], rules)()
