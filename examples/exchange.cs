// One cycle of a field computer: exchange.exe C:\Transport \\server\share
// Built for the bitness of the registered library: csc -platform:x86 -r:Microsoft.CSharp.dll exchange.cs
using System;

static class Cycle {
    static int failures;

    // What a step cannot do stays where it is, for the next run.
    static void Attempt(Action step) {
        try {
            step();
        } catch (Exception error) {
            failures = 1;
            Console.Error.WriteLine(error.Message);
        }
    }

    static dynamic Create(string name) {
        return Activator.CreateInstance(Type.GetTypeFromProgID("znTransporter." + name, true));
    }

    [STAThread]
    static int Main(string[] arguments) {
        string home = arguments[0], share = arguments[1];
        dynamic remote = Create("clsXCOPYSndRcv");
        remote.SendFolder = home + @"\send";
        remote.ReceiveFolder = home + @"\receive";
        remote.RemoteSendFolder = share + @"\to-enterprise";
        remote.RemoteReceiveFolder = share + @"\to-field";
        dynamic transport = Create("clsTransporter");
        transport.SenderReceiver = remote;

        Attempt(() => transport.MoveAll(home + @"\outbox"));
        Attempt(() => transport.SendReceive());
        Attempt(() => {
            foreach (dynamic packet in transport.Received)
                Attempt(() => Console.WriteLine(packet.Deliver(home + @"\inbox")));
        });
        return failures;
    }
}
