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
    <name>AutoReplyDialog</name>
    <message>
        <source>Auto Reply — %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Let this port play the device: when received data matches a rule, VLM sends the rule&apos;s reply. The first rule whose match ends earliest wins.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Play dead: keep matching and counting, but send nothing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Note each match in the receive view</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Match</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pattern</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
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
    <message>
        <source>Try it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paste what the host would send, e.g. AT+VER?\r\n</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Test</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(silent)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rule %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No enabled rule is valid.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No rule matches.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 replies after %2 ms: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 replies: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 matches and stays silent.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 matches; playing dead, nothing is sent.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 matches; it answers one match in %2, not this one.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AutoReplyEngine</name>
    <message>
        <source>The pattern is empty.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid regular expression: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The pattern matches empty input.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not whole bytes: use two hex digits per byte.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>?? (any byte) is only allowed in a pattern, not in a reply.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a hex byte.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hex</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wildcard</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Regular expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>empty reply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>playing dead</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not the Nth match</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>dropped</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AutoReplyRuleDialog</name>
    <message>
        <source>Auto Reply Rule</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>When this port receives</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Optional, e.g. Version query</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Match:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pattern:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply with</source>
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
        <source>Format:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leave empty to stay silent on a match</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append checksum:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delay:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Simulate an unreliable device</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Every match</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 in </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> matches</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reply to:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>3 = stay silent twice, answer the third time; tests a host&apos;s retries.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> %</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop replies at random:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No limit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> match(es)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop after:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>After this many matches the rule stops matching, and the rules below it take over.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bytes in hex, e.g. 01 03 ?? ?? 00 02. ?? matches any byte.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text where * matches any run of bytes and ? exactly one. Use \x2A for a literal *.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A Perl-compatible regular expression, run over the received bytes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exact text. \r \n \t and \xHH stand for the bytes they name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Valid.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Matches the bytes %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nothing is sent: a match is swallowed, and the rules below it do not see those bytes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Sends %n byte(s): %1</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>CommandEditDialog</name>
    <message>
        <source>Command</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CommandEditor</name>
    <message>
        <source>Shown on the button, e.g. Version</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name:</source>
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
        <source>Format:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sends:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>As the port&apos;s send settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>CR (\r)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>LF (\n)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>CR LF (\r\n)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>LF CR (\n\r)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Line ending:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Append checksum:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sends the command to the focused port from anywhere in the window, e.g. Ctrl+1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shortcut:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Optional, shown as the tool tip</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Note:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bytes in hex, two digits each, e.g. 01 03 00 00 00 01.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text. \r \n \t and \xHH stand for the bytes they name; each new line gets the line ending below.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>On the focused port this sends %n byte(s): %1</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>CommandLibraryCodec</name>
    <message>
        <source>The existing file could not be replaced.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The file could not be written.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The file does not exist.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The file could not be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This is not an VLM command file.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CommandLibraryDialog</name>
    <message>
        <source>Hex: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Command Library</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Commands</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sequences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Import...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add the commands and sequences of a .vlmcmd file to this library</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save this library as a .vlmcmd file to hand to a colleague or a customer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Groups:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
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
    <message>
        <source>Commands in this group:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sends</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shortcut</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sequences:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Steps:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Step</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send a Command...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expect a Reply...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wait...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Label...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Repeat...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add steps with Add Step.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Ready to run, %n step(s).</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Group</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Remove the group &quot;%1&quot; and its %n command(s)?</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Sequence %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove the sequence &quot;%1&quot;?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>VLM command files (*.vlmcmd)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be imported: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 has no commands or sequences to add.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Added %n group(s) and sequence(s) from %1. Names already in use got a number.</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>%1 could not be written: %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CommandLibraryText</name>
    <message>
        <source>(empty)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wait %1 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expect &quot;%1&quot; within %2 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expect &quot;%1&quot; (no time limit)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the start</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Repeat from %1, %n time(s) in all</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Repeat from %1 until stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Label &quot;%1&quot;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The command is empty.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CommandPanel</name>
    <message>
        <source>Shortcut: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit Library...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Import...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Learn More</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No commands yet. Add some with Edit Library, or import a .vlmcmd file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sequences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Run</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n step(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Send</source>
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
    <message>
        <source>Commands</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Running</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Import Commands</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Commands</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Commands exported to %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto Reply...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Command Library...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Sequence Report...</source>
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
    <name>ScriptEngine</name>
    <message>
        <source>This port also has Auto Reply rules switched on: the device may get two answers to one request.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A script is already running.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The script is larger than %1 KB.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too much output; lines left out: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Names are case-sensitive: did you mean %1?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Perhaps a typo: did you mean %1?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lua writes elif as elseif.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This line has the full-width character &quot;%1&quot;, typed with a Chinese input method. Switch to the English input method and type it again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This line has a full-width character (a Chinese comma, quote, bracket or space). Switch to the English input method and type it again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lua&apos;s booleans are lower case, true and false, and &apos;no value&apos; is nil.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>It has no value yet. Check the spelling (names are case-sensitive), or declare it at the top of the script with %1 = nil, or use local.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>sleep() and timeouts take whole milliseconds: write 1500, not 1.5.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A function is called that does not exist: check the spelling of its name, and that it is defined above this line.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text is joined with .., not +: &quot;a&quot; .. &quot;b&quot;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A value is nil. The usual causes are a tryExpect or read that timed out, or a misspelt variable name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A backslash in a string must start an escape such as \r, \n or \x0D. Write regular expressions as long strings, [[like this]], so their backslashes are left alone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lua comments start with --, not #.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lua writes &quot;not equal&quot; as ~=, not !=.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The items of a table are separated by commas: {1, 2, 3}.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>An if, for, while or function is missing its end.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lua read a name where it expected a statement: check the spelling, and that a function call has its parentheses.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lua has no +=, -= or ++: write x = x + 1.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ScriptEngine::Impl</name>
    <message>
        <source>onReceive fell behind; bytes dropped: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>called from line %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 ran for more than %L2 instructions without returning</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>onStop: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(%1 ms)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(no time limit)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>sending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>sleep %1 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>read(%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>readLine %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>idle, answering with onReceive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>idle</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 %2 %3</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SequenceBar</name>
    <message>
        <source>%1 s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide the result</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sequence</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 · step %2/%3: %4 · %5</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n failed</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>%1 passed in %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 failed at step %2 (%3): %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 stopped at step %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SequenceEngine</name>
    <message>
        <source>The sequence has no steps.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Step %1 (%2): %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The command is empty.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>there is no label &quot;%1&quot; above this step.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the steps it repeats neither send, wait nor expect anything.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no match within %1 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>matched after %1 ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n byte(s) sent</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>the port did not accept the data</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n expectation(s) not met</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SequenceReport</name>
    <message>
        <source>Sequence report: &quot;%1&quot;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Started:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Duration:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RUNNING</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PASSED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>FAILED at step %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>STOPPED at step %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Result:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checks:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>pass</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Step</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Took</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Result</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Detail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>FAIL</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>(%n more step execution(s) not listed)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SequenceReportExport</name>
    <message>
        <source>Text files (*.txt)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>JSON files (*.json)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Could not save %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Saved %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The focused port has not run a sequence this session.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Sequence Report</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SequenceRunner</name>
    <message>
        <source>A script is running on this port; stop it first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>stopped by the user</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the connection was lost</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the connection was closed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>a file transfer took the port over</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A sequence is already running on this port.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Sequence &quot;%1&quot; started, %n step(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Sequence &quot;%1&quot; passed in %2 s</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sequence &quot;%1&quot; failed at step %2 after %3 s: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sequence &quot;%1&quot; stopped at step %2 after %3 s: %4</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SequenceStepDialog</name>
    <message>
        <source>Sequence Step</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send a command</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wait</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Expect a reply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Repeat</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Label</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Step:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(type it below)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 / %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy from library:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copies a library command into this step. The step keeps its own copy, so the sequence still works when it is handed over.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> ms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause for:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Match:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pattern:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No limit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Within:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If nothing matches in time, record the failure and go on</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Looks at what the port received since the last Send step. A match uses up the bytes it covers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The start of the sequence</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Label &quot;%1&quot;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Go back to:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Until stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> times in all</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Run the steps:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>e.g. retry</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A place a Repeat step further down can go back to.</source>
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
    <message>
        <source>rule %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Auto reply %1: %n byte(s) sent</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Auto reply %1: %n byte(s) sent to %2</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Auto reply %1: matched, no reply (%2)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto reply: playing dead</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Auto reply: %n rule(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n reply(ies) sent. Click to edit the rules.</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
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
