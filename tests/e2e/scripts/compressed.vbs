' Sends a compressed packet from one side to the other, delivers it twice by its backup, and prints what it saw.
' compressed.vbs FOLDER PROGRAMS; see told.vbs for how it ends.
Option Explicit
Dim field, enterprise, packet, path, id, folder
folder = WScript.Arguments(0)

Function Party(name, other)
    Dim zip
    Set zip = CreateObject("znTransporter.clsZipEncoder")
    zip.ZipUtilLocation = WScript.Arguments(1)
    zip.OutExtension = ".pac"
    zip.CompressionLevel = 9
    Set Party = CreateObject("znTransporter.clsTransporter")
    Set Party.SenderReceiver = CreateObject("znTransporter.clsXCOPYSndRcv")
    Party.AddEncoder zip
    Party.SendFolder = folder & "\" & name & "\send"
    Party.ReceiveFolder = folder & "\" & name & "\receive"
    Party.SenderReceiver.RemoteSendFolder = folder & "\share\" & other
    Party.SenderReceiver.RemoteReceiveFolder = folder & "\share\" & name
End Function

Sub DeliverAll(receiver)
    For Each packet In receiver.Received
        WScript.Echo packet.SubFolder & " " & packet.Name & ": " & Mid(packet.Path, Len(folder) + 2) & ", " & packet.Size
        WScript.Echo "-> " & Mid(packet.Deliver(folder & "\inbox"), Len(folder) + 2)
    Next
End Sub

Set field = Party("field", "enterprise")
Set enterprise = Party("enterprise", "field")
field.Add folder & "\4712~1.mdb", "district 7"
For Each path In field.Waiting
    WScript.Echo "waits: " & Mid(path, Len(folder) + 2)
Next
field.SendReceive
enterprise.BackupEnabled = True
enterprise.SendReceive
DeliverAll enterprise
For Each id In enterprise.Backups
    WScript.Echo "backup: " & id
    enterprise.RestoreBackup id
Next
DeliverAll enterprise
enterprise.DestroyBackup "4712"
WScript.Echo "backups: " & enterprise.Backups.Count
WScript.Echo "moved: " & field.MoveAll(folder & "\outbox")
WScript.Quit 42
