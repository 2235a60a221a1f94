' Parses a command line as an administrator's script would. An uncaught error ends a script with code 0,
' so that only the last line tells that all went well.
Option Explicit

Sub Expect(what, actual, expected)
    If CStr(actual) <> CStr(expected) Then
        WScript.Echo what & ": expected [" & expected & "] but got [" & actual & "]"
        WScript.Quit 1
    End If
End Sub

Dim parser, name, value, text
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

WScript.Quit 42
