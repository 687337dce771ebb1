@echo off
rem Takes back what register.cmd did, with the same word: "unregister" or "unregister user".
call "%~dp0register.cmd" "%~1" /u
