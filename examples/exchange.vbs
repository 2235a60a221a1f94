' One cycle of a field computer: cscript //nologo exchange.vbs C:\Transport \\server\share
Option Explicit
Dim transport, packets, packet, home, share, failures
home = WScript.Arguments(0)
share = WScript.Arguments(1)
Set transport = CreateObject("znTransporter.clsTransporter")
Set transport.SenderReceiver = CreateObject("znTransporter.clsXCOPYSndRcv")
transport.SendFolder = home & "\send"
transport.ReceiveFolder = home & "\receive"
transport.SenderReceiver.RemoteSendFolder = share & "\to-enterprise"
transport.SenderReceiver.RemoteReceiveFolder = share & "\to-field"
On Error Resume Next ' What a step cannot do stays where it is, for the next run.
transport.MoveAll home & "\outbox" : Tell
transport.SendReceive : Tell
packets = Array() : Set packets = transport.Received : Tell ' For Each would go on with its body after an error.
For Each packet In packets
    packet.Deliver home & "\inbox" : Tell
Next
WScript.Quit failures

Sub Tell
    If Err Then failures = 1 : WScript.Echo Err.Description
    Err.Clear
End Sub
