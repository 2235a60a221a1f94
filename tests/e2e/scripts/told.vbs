' Sends and receives as a script would, and prints what it was told.
' told.vbs FOLDER STOP folder REMOTE_SEND REMOTE_RECEIVE
' told.vbs FOLDER STOP ftp|http SERVER USER PASSWORD REMOTE_SEND REMOTE_RECEIVE
' STOP: position at which the script stops the transfer; 0 for none. An uncaught error ends a script with code 0, so
' that only the last line tells that all went well.
Option Explicit
Dim transport, remote, progress, packet, moved, arguments, last

Class Told
    Public Positions
    Public StopAt
    Private here

    Public Property Let Position(value)
        Positions = Positions + 1
        here = value
    End Property
    Public Property Get Cancelled
        Cancelled = StopAt > 0 And here >= StopAt
    End Property
    Public Sub AddMessage(text, level)
        Err.Raise 5, "told.vbs", "a mistake in the script"
    End Sub
End Class

Set arguments = WScript.Arguments
last = arguments.Count - 1
Set transport = CreateObject("znTransporter.clsTransporter")
If arguments(2) <> "folder" Then
    Set remote = CreateObject("znTransporter.cls" & UCase(arguments(2)) & "SndRcv")
    remote.Server = arguments(3)
    remote.UserName = arguments(4)
    remote.Password = arguments(5)
Else
    Set remote = CreateObject("znTransporter.clsXCOPYSndRcv")
End If
remote.RemoteSendFolder = arguments(last - 1)
remote.RemoteReceiveFolder = arguments(last)
Set transport.SenderReceiver = remote
transport.SendFolder = arguments(0) & "\send"
transport.ReceiveFolder = arguments(0) & "\receive"
transport.MoveAll arguments(0) & "\outbox"

Set progress = New Told
progress.StopAt = CLng(arguments(1))
On Error Resume Next
moved = transport.SendReceive(progress)
If Err Then
    WScript.Echo "failed: " & Err.Source & ": " & Err.Description
ElseIf moved Then
    WScript.Echo "moved"
Else
    WScript.Echo "stopped"
End If
Err.Clear
transport.Add arguments(0) & "\missing.mdb"
WScript.Echo "error " & Hex(Err.Number) & " " & Err.Source & ": " & Err.Description
On Error Goto 0
WScript.Echo "positions " & progress.Positions
For Each packet In transport.Received
    WScript.Echo "delivered " & packet.Deliver(arguments(0) & "\inbox")
Next
WScript.Quit 42
