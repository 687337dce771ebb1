@echo off
rem Registers the COM server in this folder for programs of both word sizes. Leave the folder where it is then.
rem
rem   register         for everybody; run it as administrator
rem   register user    for you alone
setlocal
set mode=
set done=registered
if /i "%~2"=="/u" set done=unregistered
if /i "%~2"=="/u" set mode=/u
if /i "%~1"=="user" (set mode=%mode% /n /i:user) else if not "%~1"=="" (
  echo usage: %~n0 [user]
  exit /b 2
)

set failed=0
if exist "%SystemRoot%\Sysnative\regsvr32.exe" (
  call :each "%SystemRoot%\Sysnative\regsvr32.exe" x64
  call :each "%SystemRoot%\System32\regsvr32.exe" x86
) else if exist "%SystemRoot%\SysWOW64\regsvr32.exe" (
  call :each "%SystemRoot%\System32\regsvr32.exe" x64
  call :each "%SystemRoot%\SysWOW64\regsvr32.exe" x86
) else if "%PROCESSOR_ARCHITECTURE%"=="x86" (
  call :each "%SystemRoot%\System32\regsvr32.exe" x86
) else (
  call :each "%SystemRoot%\System32\regsvr32.exe" x64
)
exit /b %failed%

:each
"%~1" /s %mode% "%~dp0%2\Tavro.dll"
if errorlevel 1 goto refused
echo %2: %done%
exit /b 0
:refused
echo %2: not %done%; for everybody it takes an administrator
set failed=1
exit /b 0
