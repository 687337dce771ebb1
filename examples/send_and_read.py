"""Sends a message and reads the inbox.   python send_and_read.py COM1 +491701234567 "Hello"

Needs pywin32 (pip install pywin32); the DLL's word size must be that of Python.
"""

import sys

import win32com.client


class ModemError(Exception):
    pass


def check(sms, action):
    """Errors are values: after each call, ask."""
    if sms.IsError():
        raise ModemError(f"{action} failed: {sms.ErrorCode} {sms.ErrorDescription}")


def main(port, number, text):
    sms = win32com.client.Dispatch("Tavro.SMS")
    sms.Port = port
    sms.Connect()
    check(sms, "Connect")

    # The message references of the parts that were sent, "12" or "12,13"; -1 on failure.
    references = sms.SendSMS(number, text)
    check(sms, "SendSMS")
    print("Sent, message reference", references)

    inbox = sms.Inbox
    inbox.Concatenate = True  # the parts of a long message as one
    inbox.Refresh()
    check(sms, "Refresh")
    for message in inbox:
        print(f"{message.Index}: {message.Phone}, {message.TimeStamp:%Y-%m-%d %H:%M:%S}: {message.Text}")
    sms.Disconnect()


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    try:
        main(*sys.argv[1:])
    except ModemError as error:
        sys.exit(str(error))
