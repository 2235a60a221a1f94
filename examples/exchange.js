// One cycle of a field computer: cscript //nologo exchange.js C:\Transport \\server\share
var home = WScript.Arguments(0), share = WScript.Arguments(1), failures = 0;

// What a step cannot do stays where it is, for the next run.
function attempt(step) {
    try {
        step();
    } catch (error) {
        failures = 1;
        WScript.Echo(error.description);
    }
}

var transport = new ActiveXObject("znTransporter.clsTransporter");
transport.SenderReceiver = new ActiveXObject("znTransporter.clsXCOPYSndRcv");
transport.SendFolder = home + "\\send";
transport.ReceiveFolder = home + "\\receive";
transport.SenderReceiver.RemoteSendFolder = share + "\\to-enterprise";
transport.SenderReceiver.RemoteReceiveFolder = share + "\\to-field";

attempt(function () { transport.MoveAll(home + "\\outbox"); });
attempt(function () { transport.SendReceive(); });
attempt(function () {
    var packets = transport.Received;
    for (var i = 1; i <= packets.Count; ++i)
        attempt(function () { packets.Item(i).Deliver(home + "\\inbox"); });
});
WScript.Quit(failures);
