# Sends a message and reads the inbox.   .\send_and_read.ps1 COM1 +491701234567 "Hello"
# The DLL's word size must be that of PowerShell.
param(
    [Parameter(Mandatory)] [string] $Port,
    [Parameter(Mandatory)] [string] $Number,
    [Parameter(Mandatory)] [string] $Text
)
$ErrorActionPreference = 'Stop'

$sms = New-Object -ComObject Tavro.SMS

# Errors are values: after each call, ask.
function Assert-Success([string] $Action) {
    if ($sms.IsError()) { throw "$Action failed: $($sms.ErrorCode) $($sms.ErrorDescription)" }
}

$sms.Port = $Port
[void] $sms.Connect()
Assert-Success 'Connect'

# The message references of the parts that were sent, "12" or "12,13"; -1 on failure.
$references = $sms.SendSMS($Number, $Text)
Assert-Success 'SendSMS'
"Sent, message reference $references"

$inbox = $sms.Inbox
$inbox.Concatenate = $true   # the parts of a long message as one
[void] $inbox.Refresh()
Assert-Success 'Refresh'
foreach ($message in $inbox) {
    '{0}: {1}, {2:s}: {3}' -f $message.Index, $message.Phone, $message.TimeStamp, $message.Text
}
[void] $sms.Disconnect()
