program SendAndRead;
{ Sends a message and reads the inbox.   SendAndRead COM1 +491701234567 "Hello"
  For Delphi; calls are bound when they are made, so that no import unit is needed. }

{$APPTYPE CONSOLE}

uses
  System.SysUtils, System.Variants, System.Win.ComObj, Winapi.ActiveX;

var
  Sms: OleVariant;

{ Errors are values: after each call, ask. }
procedure Check(const Action: string);
begin
  if Sms.IsError then
    raise Exception.CreateFmt('%s failed: %s %s', [Action, VarToStr(Sms.ErrorCode), VarToStr(Sms.ErrorDescription)]);
end;

procedure Run;
var
  Inbox, Message, References: OleVariant;
  I: Integer;
begin
  Sms := CreateOleObject('Tavro.SMS');
  Sms.Port := ParamStr(1);
  Sms.Connect;
  Check('Connect');

  { The message references of the parts that were sent, '12' or '12,13'; -1 on failure. }
  References := Sms.SendSMS(ParamStr(2), ParamStr(3));
  Check('SendSMS');
  Writeln('Sent, message reference ', VarToStr(References));

  Inbox := Sms.Inbox;
  Inbox.Concatenate := True;  { the parts of a long message as one }
  Inbox.Refresh;
  Check('Refresh');
  for I := 1 to Inbox.Count do
  begin
    Message := Inbox.Message(I);
    Writeln(VarToStr(Message.Index), ': ', VarToStr(Message.Phone), ', ', VarToStr(Message.TimeStamp), ': ',
      VarToStr(Message.Text));
  end;
  Sms.Disconnect;
end;

begin
  if ParamCount < 3 then
  begin
    Writeln('usage: SendAndRead PORT NUMBER TEXT');
    Halt(2);
  end;
  CoInitialize(nil);
  try
    try
      Run;
    except
      on E: Exception do
      begin
        Writeln(E.Message);
        ExitCode := 1;
      end;
    end;
  finally
    Sms := Unassigned;  { before COM goes }
    CoUninitialize;
  end;
end.
