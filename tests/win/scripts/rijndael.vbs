' Enciphers and deciphers as an administrator's script would. An uncaught error ends a script with code 0,
' so that only the last line tells that all went well.
Option Explicit

Sub Expect(what, actual, expected)
    If actual <> expected Then
        WScript.Echo what & ": expected [" & expected & "] but got [" & actual & "]"
        WScript.Quit 1
    End If
End Sub

Dim cipher, text, message, hexText, bytes, i, key(31), block(31)
Set cipher = CreateObject("znTransporter.clsRijndael")
text = "field computer 7, password " & Chr(34) & "Gr" & Chr(252) & "n" & Chr(34)

hexText = CStr(cipher.EncryptData(text, "", True))
Expect "length of the text", Len(hexText), 192
Expect "same again", CStr(cipher.EncryptData(text, Array(), True)), hexText
message = hexText
Expect "message", CStr(cipher.DecryptData(message, "", True)), text
Expect "replaced by an array of bytes", VarType(message), 8209
Expect "message from bytes", CStr(cipher.DecryptData(message, "", False)), text

' Numbers in an array serve as bytes.
bytes = cipher.EncryptData(Array(65, 0, 66, 0), "a password", False)
Expect "numbers", CStr(cipher.DecryptData(bytes, "a password", False)), "AB"
Expect "another password", CStr(cipher.EncryptData(text, "a password", True)) <> hexText, True

cipher.Key = "a password"
Expect "default password", CStr(cipher.EncryptData(text, "", True)), CStr(cipher.EncryptData(text, "a password", True))

For i = 0 To 31
    key(i) = 0
    block(i) = 0
Next
cipher.gentables
cipher.gkey 8, 8, key
cipher.Encrypt block
Expect "first byte", Hex(block(0)), "C6"
Expect "last byte", Hex(block(31)), "F3"
cipher.Decrypt block
Expect "first byte again", block(0), 0

Expect "unreadable", VarType(cipher.DecryptData("ABC", "", True)), 8209

On Error Resume Next
cipher.gkey 5, 8, key
Expect "error of a wrong length", Err.Number <> 0, True
Expect "its text", InStr(Err.Description, "nb is 5") > 0, True
Err.Clear
cipher.EncryptData "", "", True
Expect "error of an empty message", InStr(Err.Description, "bytMessage has no bytes") > 0, True
On Error Goto 0

WScript.Quit 42
