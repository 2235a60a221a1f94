// Sends and receives as a script would, and prints what it was told; see told.vbs.
var arguments_ = WScript.Arguments, last = arguments_.Count() - 1, folder = arguments_(0);
var transport = new ActiveXObject("znTransporter.clsTransporter"), remote;
if (arguments_(2) == "ftp") {
    remote = new ActiveXObject("znTransporter.clsFTPSndRcv");
    remote.Server = arguments_(3);
    remote.UserName = arguments_(4);
    remote.Password = arguments_(5);
} else {
    remote = new ActiveXObject("znTransporter.clsXCOPYSndRcv");
}
remote.RemoteSendFolder = arguments_(last - 1);
remote.RemoteReceiveFolder = arguments_(last);
transport.SenderReceiver = remote;
transport.SendFolder = folder + "\\send";
transport.ReceiveFolder = folder + "\\receive";
transport.MoveAll(folder + "\\outbox");

var positions = 0, stopAt = Number(arguments_(1));
var progress = {
    SetPosition: function (value) {
        ++positions;
        if (stopAt > 0 && value >= stopAt) transport.Cancel();
    },
    AddMessage: function (text, level) { throw new Error("a mistake in the script"); }
};
try {
    WScript.Echo(transport.SendReceive(progress) ? "moved" : "stopped");
} catch (error) {
    WScript.Echo("failed: " + error.description);
}
try {
    transport.Add(folder + "\\missing.mdb");
} catch (error) {
    WScript.Echo("error " + (error.number >>> 0).toString(16).toUpperCase() + " " + error.description);
}
WScript.Echo("positions " + positions);
for (var packets = transport.Received, i = 1; i <= packets.Count; ++i)
    WScript.Echo("delivered " + packets.Item(i).Deliver(folder + "\\inbox"));
WScript.Quit(42);
