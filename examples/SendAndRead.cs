// Sends a message and reads the inbox.   SendAndRead COM1 +491701234567 "Hello"
//
//   tlbimp Tavro.dll /out:Interop.Tavro.dll
//   csc /platform:x64 /link:Interop.Tavro.dll SendAndRead.cs      (/platform:x86 for the 32-bit DLL)
using System;

static class SendAndRead
{
    [STAThread]  // the component lives in a single-threaded apartment
    static int Main(string[] arguments)
    {
        if (arguments.Length < 3)
        {
            Console.Error.WriteLine("usage: SendAndRead PORT NUMBER TEXT");
            return 2;
        }
        var sms = new Tavro.SMS { Port = arguments[0] };
        sms.Connect();
        if (Failed(sms, "Connect")) return 1;

        // The message references of the parts that were sent, "12" or "12,13"; -1 on failure.
        object references = sms.SendSMS(arguments[1], arguments[2]);
        if (Failed(sms, "SendSMS")) return 1;
        Console.WriteLine("Sent, message reference " + references);

        Tavro._Inbox inbox = sms.Inbox;
        inbox.Concatenate = true;  // the parts of a long message as one
        inbox.Refresh();
        if (Failed(sms, "Refresh")) return 1;
        foreach (Tavro._Message message in inbox)
            Console.WriteLine("{0}: {1}, {2:s}: {3}", message.Index, message.Phone, message.TimeStamp, message.Text);
        sms.Disconnect();
        return 0;
    }

    // Errors are values: after each call, ask.
    static bool Failed(Tavro._SMS sms, string action)
    {
        if (!sms.IsError()) return false;
        Console.Error.WriteLine("{0} failed: {1} {2}", action, sms.ErrorCode, sms.ErrorDescription);
        return true;
    }
}
