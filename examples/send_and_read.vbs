' Sends a message and reads the inbox.   cscript send_and_read.vbs COM1 +491701234567 "Hello"
Option Explicit

If WScript.Arguments.Count < 3 Then
  WScript.Echo "usage: cscript send_and_read.vbs PORT NUMBER TEXT"
  WScript.Quit 2
End If

Dim sms, references, message
Set sms = CreateObject("Tavro.SMS")
sms.Port = WScript.Arguments(0)
sms.Connect
Check "Connect"

' The message references of the parts that were sent, "12" or "12,13"; -1 on failure.
references = sms.SendSMS(WScript.Arguments(1), WScript.Arguments(2))
Check "SendSMS"
WScript.Echo "Sent, message reference " & references

sms.Inbox.Concatenate = True  ' the parts of a long message as one
sms.Inbox.Refresh
Check "Refresh"
For Each message In sms.Inbox
  WScript.Echo message.Index & ": " & message.Phone & ", " & message.TimeStamp & ": " & message.Text
Next
sms.Disconnect

' Errors are values: after each call, ask.
Sub Check(action)
  If sms.IsError Then
    WScript.Echo action & " failed: " & sms.ErrorCode & " " & sms.ErrorDescription
    WScript.Quit 1
  End If
End Sub
