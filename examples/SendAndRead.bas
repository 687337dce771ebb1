Attribute VB_Name = "SendAndRead"
' Sends a message and reads the inbox. For Excel, Access and other hosts of VBA:
' import this module, and set a reference to "Tavro 1.8 SMS Component" (Tools, References).
Option Explicit

Public Sub SendAndReadMessages()
    Dim modem As New Tavro.SMS
    Dim message As Tavro.Message
    Dim references As Variant

    modem.Port = "COM1"
    modem.LongMessage = MessageConcatenate  ' a long text is sent in parts that the phone joins
    modem.Connect
    If Failed(modem, "Connect") Then Exit Sub

    ' The message references of the parts that were sent, "12" or "12,13"; -1 on failure.
    references = modem.SendSMS("+491701234567", "Hello from VBA")
    If Failed(modem, "SendSMS") Then Exit Sub
    Debug.Print "Sent, message reference " & references

    modem.Inbox.Concatenate = True
    modem.Inbox.Refresh
    If Failed(modem, "Refresh") Then Exit Sub
    For Each message In modem.Inbox
        Debug.Print message.Index & ": " & message.Phone & ", " & message.TimeStamp & ": " & message.Text
    Next
    modem.Disconnect
End Sub

' Errors are values: after each call, ask.
Private Function Failed(modem As Tavro.SMS, action As String) As Boolean
    Failed = modem.IsError
    If Failed Then Debug.Print action & " failed: " & modem.ErrorCode & " " & modem.ErrorDescription
End Function
