<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>AsciiCode</name>
    <message>
        <source>\0 Null character</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start of Header</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start of Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End of Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End of Transmission</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enquiry</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Acknowledgment</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\a Bell</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\b Backspace</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\t Horizontal Tab</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\n Line feed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\v Vertical Tab</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\f Form feed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\r Carriage return</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shift Out</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shift In</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Data Link Escape</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device Control 1 (oft. XON)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device Control 2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device Control 3 (oft. XOFF)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device Control 4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Negative Acknowledgement</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronous idle</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End of Transmission Block</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>End of Medium</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Substitute</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\e Escape</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Separator</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Group Separator</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Record Separator</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unit Separator</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ASCII Code Chart</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Binary</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Decimal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Abbr/Glyph</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Description</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Space</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConnectionController</name>
    <message>
        <source>Serial Port %1 OPEN FAILED! ERROR: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN SUCCESS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the port is not open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>baud rate %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 data bits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>parity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>stop bits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>flow control</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 was refused by the driver: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open the serial port before sending Break</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Failed to set %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RTS is managed automatically by RTS/CTS flow control</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 DISCONNECTED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP connection error: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP connect FAILED: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Refused %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP server listen on port %1 FAILED: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP bind to port %1 FAILED: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP host %1 could not be resolved: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>it has no IPv4 address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No UDP peer to reply to yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 CLOSE FAILED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 CLOSE SUCCESS</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConnectionSettingsWidget</name>
    <message>
        <source>A port from the list, or any device path such as /dev/serial/by-id/... or a pseudo-terminal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial transfer speed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Baudrate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Parity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Flow Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Host</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Local port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Listen port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP Server</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP Server</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remote Serial (RFC 2217)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Relay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Even</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Odd</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mark</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Space</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter a rate from 1 to 100000000 bits per second</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ControlLineLedRow</name>
    <message>
        <source>Click to switch RTS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click to switch DTR</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Break</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hold to send a break (at least 300 ms)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>BRK</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CrcCatalog</name>
    <message>
        <source>None</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checksum-8 (SUM)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>XOR (BCC)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LiveSyncStatus</name>
    <message>
        <source>Not listening</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shared ×%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shared</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>In use ×%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>In use</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Sync</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LogWriter</name>
    <message>
        <source>Please input correct log file name!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not rotate log file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>every archive name is taken</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log path is a directory, not a file: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not create log directory &apos;%1&apos;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not open log file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not write log file &apos;%1&apos;: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN FAILED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;New</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Recent Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save &amp;As...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reconnect Automatically</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Last Connection at Start</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Last Connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Connection...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Settings Fields...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Appearance</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Light</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dark</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Tools</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>CRC/Converter...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ASCII Code Chart...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Set Port Number Per Column</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port Number Per Column:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A window holds at most %1 connections.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port Number = %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bridges between ports are not available in this build yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Saving...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not open %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Saving FAILED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File saved</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora files (*.vlm)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The project has been modified.
Do you want to save your changes?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rx: %L1 Bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tx: %L1 Bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Sync — nothing shared right now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click to share this machine&apos;s ports</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Sync — %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Sync</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not listening</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shared ×%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>In use ×%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RFC 2217 Server...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Share...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not signed in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click for recent messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Recent messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No messages yet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear Message History</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MessageCodec</name>
    <message>
        <source>The message ends with a lone backslash. Write \\ to send one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>\x must be followed by two hex digits, as in \x1B.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unknown escape sequence \%1. Write \\ to send a backslash.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MultiClientServer</name>
    <message>
        <source>not on the address allowlist</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the port already has a client (exclusive mode)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MultiPortSettingDlg</name>
    <message>
        <source>Connection Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select at least one quick settings group to show.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore Default Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Replace the settings shown in this dialog with their defaults?</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>NewConnection</name>
    <message>
        <source>New Connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP/IP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bridge (network to serial)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection type</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QuickSettingsEditor</name>
    <message>
        <source>Choose the groups and fields to show, and arrange their order.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>RelaySocket</name>
    <message>
        <source>Missing relay address or ticket.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Relay is not available in this build.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SerialPortWidget</name>
    <message>
        <source>Enter the host to connect to.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port %1 cannot be connected to: use 1 to 65535.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port %1 cannot be listened on: use 0 to 65535.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This connection type is not supported. Choose another one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opened %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opened %1 (%2)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a serial port or type its path.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Relay needs the cloud client, which this build does not include yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Closed %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%L1 bytes not shown: the view could not keep up with the data rate]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error (as shown in the UI): %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial port lost</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 lost, waiting for it to come back...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection lost</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection lost, reconnecting...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Relay ended (as shown in the UI): %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Relay ended: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reconnecting to %1:%2 ...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP connection RESTORED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reconnected %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 RECONNECTED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Break on a remote serial port needs RFC 2217 com-port control, which this build does not include yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RTS is driven by RTS/CTS flow control and cannot be set by hand.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The remote port is left under its own configuration. Clear &quot;Keep the remote port&apos;s own config&quot; to drive RTS, DTR and Break from here.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Control lines belong to a serial port. This connection does not have one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No TCP client is connected yet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The port is not open.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file transfer is running.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file transfer is using this port. Sending data now would corrupt it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file transfer is using this port. Changing the port settings would interrupt it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A file transfer is using this port. Changing the control lines would interrupt it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial Port %1 DISCONNECTED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; %1 OPENED, %2, %3, %4, %5, %6 &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; %1 CLOSED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>&lt;font color = green&gt; TCP server %1 LISTENING, %n client(s) &lt;/font&gt;</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; TCP server :%1 CLOSED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; TCP %1 CONNECTED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = orange&gt; TCP %1 CONNECTING &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = orange&gt; TCP %1 RECONNECTING &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; TCP %1 CLOSED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>&lt;font color = green&gt; UDP bound to port %1, %n peer(s) &lt;/font&gt;</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; UDP CLOSED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; Live Relay %1 CONNECTED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; Live Relay CLOSED &lt;/font&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rx: %L1 Bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tx: %L1 Bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select Log File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log files (*.log);;All files (*.*);;Text files (*.txt)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Receive Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How received data is shown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show received data as text or hex, and the encoding to read it with</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto Line Feed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start a new line after an idle interval</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Prefix received data with a timestamp</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log to File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Write what the port shows to a log file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose the log file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How data is sent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send the input as text or hex, and the encoding to send it with</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Loop Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resend automatically at an interval</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append Line Ending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ending appended to each send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter Sends</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bytes sent when Enter is pressed in the receive terminal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append Checksum</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checksum appended to each send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Echo sent data in the display</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Local Echo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Echo keys typed into the receive terminal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Line by Line</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send multi-line input line by line</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Escapes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expand \n, \r, \t, \xHH and other backslash escapes in text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Format Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rewrite hex input as spaced upper-case pairs after sending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How text and hex input are read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port and connection parameters</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send to</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Messages sent before, newest first</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>History</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text to send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SetConfigFilePathDialog</name>
    <message>
        <source>Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose the file in which Velmora keeps the settings of your last session. You can keep the suggested place.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings files (*.ini)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsCodec</name>
    <message>
        <source>Fixed font</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1, %2 pt</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsPanel</name>
    <message>
        <source>Connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port and connection parameters</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A port from the list, or any device path such as /dev/serial/by-id/... or a pseudo-terminal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial transfer speed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Data bits per frame</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Parity check mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop bits per frame</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Flow control method</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>DTR on</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Raise DTR when the port opens</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RTS on</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Raise RTS when the port opens; RTS/CTS flow control drives RTS itself</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Host name or address of the peer; recently used hosts are listed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local port the UDP client binds</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local port the UDP server binds</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep the remote port&apos;s own config</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leave the remote port&apos;s line parameters as they are instead of sending these</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Baudrate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Parity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Flow Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>At open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Host</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remote port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Local port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Listen port</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remote computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Receive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How received data is shown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show received data as text or hex, and the encoding to read it with</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto Line Feed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start a new line after an idle interval</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The idle interval that starts a new line</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The line ending of received text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Line Ending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Prefix received data with a timestamp</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A time format such as hh:mm:ss.zzz; other text is shown as it is</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Received stamp</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sent stamp</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> MiB</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Received data kept for the display and while paused</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display buffer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Font</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Colour text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show received and sent text in the colours chosen here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Colour of sent text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Colour of received text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show control line indicators</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the row of TX/RX and control line lights</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sent Text Colour</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Received Text Colour</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How data is sent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send the input as text or hex, and the encoding to send it with</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ending appended to each send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append Line Ending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bytes sent when Enter is pressed in the receive terminal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter Sends</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checksum appended to each send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append Checksum</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Escapes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expand \n, \r, \t, \xHH and other backslash escapes in text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Format Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rewrite hex input as spaced upper-case pairs after sending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Comments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow comments in the send input</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Echo sent data in the display</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Local Echo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Echo keys typed into the receive terminal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Line by Line</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send multi-line input line by line</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Loop Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resend automatically at an interval</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The interval between sends, in the unit beside it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How the port writes what it shows to a file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log to File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Write what the port shows to a log file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add to an existing file instead of starting it afresh</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ask for Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ask for the file name each time logging starts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start on Connect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start logging by itself when the port opens</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The log file. %S is replaced by the port name; %Y, %y, %M, %D, %h, %m, %s and %z by the year, two-digit year, month, day, hour, minute, second and millisecond</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Time Stamp</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Begin each logged line with a time stamp</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%h, %m, %s and %z stand for the hour, minute, second and millisecond</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rotate above</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start a new file when the log grows past this size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rotate daily at</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start a new file every day at this time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hour in file name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rotated file names carry the hour</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Serial</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP Server</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TCP Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP Server</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP Client</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remote Serial (RFC 2217)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Live Relay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Custom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Even</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Odd</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mark</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Space</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>min</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UDP Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unused</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None chosen</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>× %1 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please input correct log file name!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select Log File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Log files (*.log);;All files (*.*);;Text files (*.txt)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bits per second</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter a rate from 0 to 100000000 bits per second</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Received %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sent %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display Font</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ToolBox</name>
    <message>
        <source>Toolbox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Converter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>CRC Calculator</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex to Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text to Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Output</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Always UTF-8. This tool is independent of the encoding a port is configured with.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Input</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text (UTF-8)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Custom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reflect input</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reflect output</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Calculate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dec</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Oct</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Big-endian</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Little-endian</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy Bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Insert Frame into Send</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Input format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Algorithm</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Width</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Polynomial (hex)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Initial value (hex)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Final XOR (hex)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Base</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wire bytes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Byte order</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid hex character at position %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex input must contain complete bytes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Width must be between 1 and 64.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 must be a hexadecimal value that fits the width.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Polynomial</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Polynomial must not be zero.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Initial value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Final XOR</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WireTextCodecRegistry</name>
    <message>
        <source>The character &apos;%1&apos; cannot be encoded as %2. Change the encoding or edit the message.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This message cannot be encoded as %1. Change the encoding or edit the message.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
