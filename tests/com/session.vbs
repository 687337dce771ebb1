' Everything that a script can do with a modem, which is on the port that the argument names.
Const OwnNumber = "+491701234567"
Dim sms, inbox, wap, message, result, text, seen

Sub Check(right, name)
  If right Then WScript.Echo "ok      vbs: " & name Else WScript.Echo "FAILED  vbs: " & name
End Sub

Sub Expect(name, actual, expected)
  Check VarType(actual) = VarType(expected) And actual = expected, name & " is " & actual
End Sub

Set sms = CreateObject("Tavro.SMS")
Set inbox = sms.Inbox
Set wap = sms.WapPush

sms.Port = WScript.Arguments(0)
sms.BaudRate = 115200 : Expect "BaudRate", sms.BaudRate, CLng(115200)
sms.Parity = "none" : Expect "Parity", sms.Parity, "N"
sms.DataBits = 8 : Expect "DataBits", sms.DataBits, CInt(8)
sms.StopBits = "2" : Expect "StopBits", sms.StopBits, "2"
sms.StopBits = "1" : Expect "StopBits", sms.StopBits, "1"
sms.Timeout = 5000 : Expect "Timeout", sms.Timeout, CLng(5000)
sms.Validity = "2D"
sms.LongMessage = 1 : Expect "LongMessage", sms.LongMessage, CInt(1)
sms.LongMessage = 3
sms.PIN = "1234"
sms.DisableCheckPIN = True : Expect "DisableCheckPIN", sms.DisableCheckPIN, True
sms.DisableCheckPIN = False
sms.DelayAfterPin = 1 : Expect "DelayAfterPin", sms.DelayAfterPin, CLng(1)
sms.SendDelay = 1 : Expect "SendDelay", sms.SendDelay, CLng(1)
sms.SendRetry = 1 : Expect "SendRetry", sms.SendRetry, CInt(1)
sms.Character = 16 : Expect "Character", sms.Character, CInt(16)
sms.DebugMode = True : Expect "DebugMode", sms.DebugMode, True
sms.DebugMode = False
sms.LogType = 2 : Expect "LogType", sms.LogType, CInt(2)
sms.LogFolderPath = "C:\windows" : Expect "LogFolderPath", sms.LogFolderPath, "C:\windows\"
sms.ModemInitString = "AT&F" : Expect "ModemInitString", sms.ModemInitString, "AT&F"
sms.ModemCommandDelay = 50 : Expect "ModemCommandDelay", sms.ModemCommandDelay, CLng(50)
inbox.Concatenate = True : Expect "Concatenate", inbox.Concatenate, True
wap.Destination = OwnNumber : Expect "Destination", wap.Destination, OwnNumber
wap.Text = "News" : Expect "Text", wap.Text, "News"
wap.URL = "http://example.com/" : Expect "URL", wap.URL, "http://example.com/"
wap.Action = 3 : Expect "Action", wap.Action, CInt(3)
wap.Created = #2009-11-15 16:30:00# : Expect "Created", wap.Created, #2009-11-15 16:30:00#
wap.Expiry = "2D" : Expect "Expiry", wap.Expiry, "2D"

sms.DataBits = 9
Check sms.IsError And sms.ErrorCode = 1004 And sms.ErrorDescription = "Invalid data bits setting", "a refused setting"
Expect "DataBits", sms.DataBits, CInt(8)
Check Not sms.IsError, "the next call clears the error"

Expect "Connect", sms.Connect, True
Expect "IsConnected", sms.IsConnected, True
sms.Port = "COM9"
Expect "ErrorCode", sms.ErrorCode, CLng(1009)
Expect "Validity", sms.Validity, "2D"
sms.MessageMemory = "ME" : Expect "MessageMemory", sms.MessageMemory, "ME"
sms.SMSC = "+491710000000" : Expect "SMSC", sms.SMSC, "+491710000000"
Check sms.Manufacturer <> "" And sms.Model <> "" And sms.IMEI <> "" And sms.IMSI <> "" And sms.Revision <> "", "the modem's data"
Check sms.SignalStrength > 0 And sms.SignalStrengthDB < -50 And sms.BatteryLevel > 0 And sms.Network <> "" And sms.NetworkEx <> "", "the network's data"
Expect "OwnNumber", sms.OwnNumber, OwnNumber
Check InStr(sms.Command("AT+CGMM" & vbCr), sms.Model) > 0, "a raw command"

text = "A text of more than one message: " & Space(80) & "end"
result = sms.SendSMS(OwnNumber, text)
Check VarType(result) = 8 And InStr(result, ",") > 0, "a long message, references " & result
sms.Character = 7
Check VarType(sms.SendSMS(OwnNumber, "second", True)) = 8, "a message shown at once"
result = sms.SendSMS("nobody", "text")
Expect "SendSMS to nobody", result, CInt(-1)
Expect "ErrorCode", sms.ErrorCode, CLng(4004)
Expect "IsLengthOK", wap.IsLengthOK, True
Expect "Send", wap.Send, True

Expect "Refresh", inbox.Refresh, True
Expect "Count", inbox.Count, CInt(2)
Check inbox.HasMessages And Not inbox.IsEmpty, "the inbox has messages"
For Each message In inbox
  seen = seen & message.Index & message.Text & message.Phone
  Check VarType(message.TimeStamp) = 7 And message.SMSC <> "" And message.TimeStampRFC <> "" And message Is inbox(message.Index), "a message's properties"
Next
Check seen = "1" & text & OwnNumber & "2second" & OwnNumber, "For Each in the inbox's order"
Check inbox(2) Is inbox.Message(2), "Message is the default member, and always the same object"
Check inbox(3) Is Nothing, "no third message"
Expect "Delete", inbox(1).Delete, True
Expect "Text of the message that moved up", inbox(1).Text, "second"
Expect "Clear", inbox.Clear, True
Expect "Clear of an empty inbox", inbox.Clear, False
Expect "ErrorCode", sms.ErrorCode, CLng(6009)
Check sms.LogSize > 10 And sms.ClearLog(2) And sms.LogSize = 4 And sms.ClearLog, "log size and clearing"
Expect "Disconnect", sms.Disconnect, True
WScript.Echo "end"
