"""The C interface as tavro/tavro.h declares it: constants, structures and functions, in the order of that file."""

from __future__ import annotations

import ctypes
import enum
from ctypes import POINTER, c_char_p, c_int, c_int32, c_int64, c_size_t, c_uint8, c_uint32, c_void_p

NO_TIME = -(2**63)
INT32_MAX = 2**31 - 1


class Code(enum.IntEnum):
    INVALID_HANDLE = -1
    INVALID_ARGUMENT = -2
    IN_USE = -3
    AFTER_FORK = -4
    NOT_IN_LIST = -6


class Flag(enum.IntFlag):
    """Of tavro_options."""

    CLASSIC = 1
    WIDE_REFERENCES = 2
    PIN_ON_LAST_ATTEMPT = 4
    RECOVER_BY_REPEATING = 8
    RECOVER_BY_RESTARTING = 16
    RECOVER_BY_REOPENING = 32


class Property(enum.IntEnum):
    PORT = 101
    PARITY = 102
    STOP_BITS = 103
    PIN = 111
    MODEM_INIT_STRING = 112
    MESSAGE_MEMORY = 113
    SMSC = 114
    VALIDITY = 115
    LOG_FOLDER_PATH = 116
    MANUFACTURER = 131
    MODEL = 132
    REVISION = 133
    IMEI = 134
    IMSI = 135
    NETWORK = 136
    NETWORK_EX = 137
    OWN_NUMBER = 138
    ABOUT = 139
    BAUD_RATE = 201
    DATA_BITS = 202
    TIMEOUT = 211
    MODEM_COMMAND_DELAY = 212
    DELAY_AFTER_PIN = 213
    DISABLE_CHECK_PIN = 214
    CONCATENATE = 215
    LONG_MESSAGE = 216
    CHARACTER = 217
    SEND_DELAY = 218
    SEND_RETRY = 219
    STATUS_REPORT = 220
    LOG_TYPE = 221
    DEBUG_MODE = 222
    IS_CONNECTED = 231
    IS_MEMORY_FULL = 232
    SIGNAL_STRENGTH = 233
    SIGNAL_STRENGTH_DB = 234
    BATTERY_LEVEL = 235
    LOG_SIZE = 236


FLASH = 1
PDU_WITHOUT_SMSC = 1
PDU_RECEIVED = 2
PDU_SENT = 4
ENCODE_FLASH = 1
ENCODE_STATUS_REPORT = 2
ENCODE_WIDE_REFERENCES = 4
ENCODE_WITH_REFERENCE = 8


class Text(ctypes.Structure):
    _fields_ = [("data", c_void_p), ("length", c_size_t)]

    def __str__(self) -> str:
        return ctypes.string_at(self.data, self.length).decode("utf-8", "replace")


class Sized(ctypes.Structure):
    """A structure that begins with its size."""

    def __init__(self, **values: object) -> None:
        super().__init__(struct_size=ctypes.sizeof(self), **values)


class Options(Sized):
    _fields_ = [("struct_size", c_uint32), ("flags", c_uint32), ("device", c_char_p)]


class Push(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("action", c_int32),
        ("created", c_int64),
        ("destination", c_char_p),
        ("text", c_char_p),
        ("url", c_char_p),
        ("expiry", c_char_p),
    ]


class Waiting(ctypes.Structure):
    _fields_ = [("kind", c_int32), ("active", c_int32), ("count", c_int32)]


class Message(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("index", c_int32),
        ("time", c_int64),
        ("time_zone", c_int32),
        ("message_class", c_int32),
        ("destination_port", c_int32),
        ("source_port", c_int32),
        ("is_replacement", c_int32),
        ("parts", c_int32),
        ("phone", Text),
        ("text", Text),
        ("time_text", Text),
        ("smsc", Text),
        ("data", POINTER(c_uint8)),
        ("data_length", c_size_t),
        ("missing_parts", POINTER(c_int32)),
        ("missing_part_count", c_size_t),
        ("waiting", POINTER(Waiting)),
        ("waiting_count", c_size_t),
    ]


class Report(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("reference", c_int32),
        ("sent_time", c_int64),
        ("discharge_time", c_int64),
        ("sent_time_zone", c_int32),
        ("discharge_time_zone", c_int32),
        ("state", c_int32),
        ("status", c_int32),
        ("recipient", Text),
        ("text", Text),
        ("sent_time_text", Text),
        ("discharge_time_text", Text),
        ("smsc", Text),
    ]


class Memory(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("used", c_int32),
        ("total", c_int32),
        ("reserved", c_int32),
        ("name", Text),
    ]


class Device(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("interface_number", c_int32),
        ("outcome", c_int32),
        ("baud_rate", c_int32),
        ("takes_indications", c_int32),
        ("gave_indications", c_int32),
        ("is_recommended", c_int32),
        ("reserved", c_int32),
        ("path", Text),
        ("stable_path", Text),
        ("maker", Text),
        ("product", Text),
        ("serial_number", Text),
        ("friendly_name", Text),
        ("driver", Text),
        ("usb_path", Text),
        ("error", Text),
        ("modem_maker", Text),
        ("modem_model", Text),
        ("imei", Text),
        ("sim_state", Text),
    ]


class ProbeOptions(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("patience", c_int32),
        ("paths", POINTER(c_char_p)),
        ("path_count", c_size_t),
    ]


class Pdu(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("kind", c_int32),
        ("time", c_int64),
        ("discharge_time", c_int64),
        ("validity_time", c_int64),
        ("time_zone", c_int32),
        ("discharge_time_zone", c_int32),
        ("validity_time_zone", c_int32),
        ("error_octet", c_int32),
        ("protocol", c_int32),
        ("data_coding", c_int32),
        ("coding", c_int32),
        ("message_class", c_int32),
        ("destination_port", c_int32),
        ("source_port", c_int32),
        ("long_reference", c_int32),
        ("is_wide", c_int32),
        ("part", c_int32),
        ("parts", c_int32),
        ("reference", c_int32),
        ("asks_for_report", c_int32),
        ("status", c_int32),
        ("state", c_int32),
        ("error", Text),
        ("service_centre", Text),
        ("number", Text),
        ("text", Text),
        ("validity", Text),
        ("status_text", Text),
        ("time_text", Text),
        ("discharge_time_text", Text),
        ("validity_time_text", Text),
        ("octets", POINTER(c_uint8)),
        ("octet_count", c_size_t),
        ("data", POINTER(c_uint8)),
        ("data_length", c_size_t),
        ("waiting", POINTER(Waiting)),
        ("waiting_count", c_size_t),
    ]


class PduField(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("offset", c_int32),
        ("length", c_int32),
        ("first_bit", c_int32),
        ("bit_count", c_int32),
        ("reserved", c_int32),
        ("name", Text),
        ("value", Text),
    ]


class EncodeOptions(Sized):
    _fields_ = [
        ("struct_size", c_uint32),
        ("flags", c_uint32),
        ("coding", c_int32),
        ("long_message", c_int32),
        ("reference", c_int32),
        ("reserved", c_int32),
        ("validity", c_char_p),
        ("service_centre", c_char_p),
    ]


class PduPart(Sized):
    _fields_ = [("struct_size", c_uint32), ("tpdu_length", c_int32), ("hex", Text)]


# What each function is given. All return int but tavro_version_text.
_text, _texts, _int32 = c_char_p, POINTER(Text), POINTER(c_int32)
_modem = _list = c_void_p
_handle = POINTER(c_void_p)
FUNCTIONS = {
    "tavro_version": (),
    "tavro_version_text": (),
    "tavro_error": (_modem, POINTER(_text)),
    "tavro_open": (POINTER(Options), _handle),
    "tavro_close": (_modem,),
    "tavro_connect": (_modem,),
    "tavro_disconnect": (_modem,),
    "tavro_cancel": (_modem,),
    "tavro_interrupt": (_modem, c_int),
    "tavro_get_text": (_modem, c_int, _texts),
    "tavro_set_text": (_modem, c_int, _text),
    "tavro_get_int": (_modem, c_int, _int32),
    "tavro_set_int": (_modem, c_int, c_int32),
    "tavro_command": (_modem, _text, _texts),
    "tavro_clear_log": (_modem, c_int32),
    "tavro_send_n": (_modem, _text, _text, c_size_t, c_uint32, _texts),
    "tavro_send_push": (_modem, POINTER(Push)),
    "tavro_push_fits": (_modem, POINTER(Push), _int32),
    "tavro_list_count": (_list, POINTER(c_size_t)),
    "tavro_list_free": (_list,),
    "tavro_message_at": (_list, c_size_t, POINTER(Message)),
    "tavro_report_at": (_list, c_size_t, POINTER(Report)),
    "tavro_memory_at": (_list, c_size_t, POINTER(Memory)),
    "tavro_read": (_modem, c_int, _handle),
    "tavro_inbox": (_modem, _handle),
    "tavro_wait": (_modem, c_int32, _handle),
    "tavro_delete": (_modem, _list, c_size_t),
    "tavro_delete_all": (_modem,),
    "tavro_memories": (_modem, _handle),
    "tavro_reports": (_modem, _handle),
    "tavro_clear_reports": (_modem,),
    "tavro_delivery": (_modem, _text, _int32, _handle),
    "tavro_wait_for_delivery": (_modem, _text, c_int32, _int32),
    "tavro_ussd": (_modem, _text, _texts, _int32),
    "tavro_ussd_cancel": (_modem,),
    "tavro_device_at": (_list, c_size_t, POINTER(Device)),
    "tavro_devices": (_handle,),
    "tavro_probe": (POINTER(ProbeOptions), _handle),
    "tavro_interrupt_probes": (),
    "tavro_decode": (_text, c_uint32, _handle),
    "tavro_decoded": (_list, POINTER(Pdu)),
    "tavro_pdu_field_at": (_list, c_size_t, POINTER(PduField)),
    "tavro_encode_n": (_text, _text, c_size_t, POINTER(EncodeOptions), _handle),
    "tavro_pdu_part_at": (_list, c_size_t, POINTER(PduPart)),
}
