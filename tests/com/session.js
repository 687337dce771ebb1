// What session.vbs does, in JScript.
var ownNumber = "+491701234567";
var sms = new ActiveXObject("Tavro.SMS.1"), inbox = sms.Inbox, wap = sms.WapPush;

function check(right, name) {
  WScript.Echo((right ? "ok      js: " : "FAILED  js: ") + name);
}

// Every property that is set and read back: object, name, value, value read back where it differs.
var properties = [
  [sms, "Port", WScript.Arguments(0)], [sms, "BaudRate", 57600], [sms, "Parity", "even", "E"], [sms, "Parity", "N"],
  [sms, "DataBits", 7], [sms, "DataBits", "8", 8], [sms, "StopBits", 2, "2"], [sms, "StopBits", "1"],
  [sms, "Timeout", 5000], [sms, "LongMessage", 2], [sms, "LongMessage", 0], [sms, "DisableCheckPIN", true],
  [sms, "DelayAfterPin", 1], [sms, "SendDelay", 1], [sms, "SendRetry", 0], [sms, "Character", 2, 16],
  [sms, "DebugMode", true], [sms, "DebugMode", false], [sms, "LogType", 1], [sms, "LogType", 0],
  [sms, "LogFolderPath", "C:\\windows", "C:\\windows\\"], [sms, "ModemInitString", "ATE0"],
  [sms, "ModemCommandDelay", 50], [inbox, "Concatenate", true], [inbox, "Concatenate", false],
  [wap, "Destination", ownNumber], [wap, "Text", "\u4f60\u597d"], [wap, "URL", "https://www.example.org"],
  [wap, "Action", 1], [wap, "Expiry", "12M"]
];
for (var i = 0; i < properties.length; i++) {
  var p = properties[i], expected = p.length > 3 ? p[3] : p[2];
  p[0][p[1]] = p[2];
  check(p[0][p[1]] === expected && sms.ErrorCode === 0, p[1] + " is " + p[0][p[1]]);
}
wap.Created = "2009-11-15 16:30";
check(("" + wap.Created).indexOf("2009") > 0, "Created from a text");
sms.PIN = "1234";

// What Automation itself refuses.
var refused = [["DataBits", 70000], ["DataBits", "many"], ["BaudRate", 1e300], ["Port", null], ["Connect", 1]];
for (i = 0; i < refused.length; i++) {
  var raised = false;
  try { sms[refused[i][0]] = refused[i][1]; } catch (error) { raised = true; }
  check(raised, refused[i][0] + " does not take " + refused[i][1]);
}

check(sms.Connect() === true, "connected");
sms.Validity = "12h";
check(sms.Validity === "12H" && sms.MessageMemory === "SM" && sms.SignalStrength > 0, "settings that need the modem");
check(sms.SendSMS(ownNumber, "\u20ac cut after 70 units: " + new Array(200).join("y")).length > 0, "sent, cut");
sms.Character = 7;
check(sms.SendSMS(ownNumber, "plain") !== -1 && sms.SendSMS("x", "plain") === -1 && sms.ErrorCode === 4004, "sent, plain");
check(wap.IsLengthOK() && wap.Send(), "pushed");
check(inbox.Refresh(2) && inbox.Count === 2 && !inbox.IsEmpty, "read");
var texts = [];
for (var all = new Enumerator(inbox); !all.atEnd(); all.moveNext()) texts.push(all.item().Text);
check(texts.length === 2 && texts[0].length === 70 && texts[0].charAt(0) === "\u20ac" && texts[1] === "plain", "enumerated");
check(inbox(3) === null && sms.ErrorCode === 5007 && !inbox.Refresh(3) && sms.ErrorCode === 5001, "read errors");
check(inbox(2).Delete() && inbox.Count === 1 && inbox.Clear() && inbox.IsEmpty && !inbox.HasMessages, "deleted, cleared");
check(sms.Disconnect() && !sms.IsConnected && sms.Disconnect(), "disconnected");
WScript.Echo("end");
