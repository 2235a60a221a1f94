"""One cycle of a field computer: python exchange.py C:\\Transport \\\\server\\share (needs the package comtypes)."""
import contextlib
import sys

import comtypes.client

home, share = sys.argv[1:]
failures = []
if sys.stdout:  # Redirected, it has the characters of the code page alone, and paths may hold others.
    sys.stdout.reconfigure(errors="backslashreplace")


@contextlib.contextmanager
def step():
    """What a step cannot do stays where it is, for the next run."""
    try:
        yield
    except comtypes.COMError as error:
        number, text, (description, *_) = error.args[:3]
        failures.append(number)
        print(description or text, file=sys.stderr)


transport = comtypes.client.CreateObject("znTransporter.clsTransporter")
remote = comtypes.client.CreateObject("znTransporter.clsXCOPYSndRcv")
remote.SendFolder = home + r"\send"
remote.ReceiveFolder = home + r"\receive"
remote.RemoteSendFolder = share + r"\to-enterprise"
remote.RemoteReceiveFolder = share + r"\to-field"
transport.SenderReceiver = remote

with step():
    transport.MoveAll(home + r"\outbox")
with step():
    transport.SendReceive()
with step():
    for packet in transport.Received:
        with step():
            print(packet.Deliver(home + r"\inbox"))
sys.exit(1 if failures else 0)
