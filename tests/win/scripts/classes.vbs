' Parses a command line, and enciphers and deciphers, as an administrator's scripts would. An uncaught error ends a
' script with code 0, so that only the last line tells that all went well.
Option Explicit

Sub Expect(what, actual, expected)
    If CStr(actual) <> CStr(expected) Then
        WScript.Echo what & ": expected [" & expected & "] but got [" & actual & "]"
        WScript.Quit 1
    End If
End Sub

Dim parser, name, value, text, cipher, message, hexText, i, key(31), block(31)
Set parser = CreateObject("znTransporter.clsCmdLine")
parser.Parse "/server=ftp.example -user ""Jane Doe"" packet.mdb /quiet /range 1-5 ""second packet.mdb"""

For Each name In parser.Options
    text = text & name & "=" & parser.Options(name) & ";"
Next
' The parser has also taken the arguments of this script's own process: its options come first.
Expect "options", Right(text, 50), "server=ftp.example;user=Jane Doe;quiet=;range=1-5;"
Expect "known option", parser.Options.Exists("user"), True
Expect "letter case", parser.Options.Exists("USER"), False

text = ""
For Each value In parser.Parameters
    text = text & value & ";"
Next
Expect "last parameters", Right(text, Len("packet.mdb;second packet.mdb;")), "packet.mdb;second packet.mdb;"
Expect "last parameter", parser.Parameters(parser.Parameters.Count), "second packet.mdb"
Expect "message", parser.InvalidMsg, ""

On Error Resume Next
value = parser.Parameters(0)
Expect "error of a wrong position", Err.Number <> 0, True
On Error Goto 0

Set cipher = CreateObject("znTransporter.clsRijndael")
text = "field computer 7, password " & Chr(34) & "Gr" & Chr(252) & "n" & Chr(34)

hexText = CStr(cipher.EncryptData(text, "", True))
Expect "length of the text", Len(hexText), 192
message = hexText
Expect "message", CStr(cipher.DecryptData(message, "", True)), text
Expect "replaced by an array of bytes", VarType(message), 8209

For i = 0 To 31
    key(i) = 0
    block(i) = 0
Next
cipher.gkey 8, 8, key
cipher.Encrypt block
Expect "first and last byte", Hex(block(0)) & Hex(block(31)), "C6F3"
cipher.Decrypt block
Expect "first byte again", block(0), 0

On Error Resume Next
cipher.gkey 5, 8, key
Expect "error of a wrong length", Err.Number <> 0 And InStr(Err.Description, "nb is 5") > 0, True
On Error Goto 0

WScript.Quit 42
