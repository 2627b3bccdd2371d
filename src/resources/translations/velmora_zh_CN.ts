<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>AccountDialog</name>
    <message>
        <source>Velmora Account</source>
        <translation>Velmora 账户</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>登录</translation>
    </message>
    <message>
        <source>Create Account</source>
        <translation>创建账户</translation>
    </message>
    <message>
        <source>No reply from the server. Please try again.</source>
        <translation>服务器没有回应。请重试。</translation>
    </message>
    <message>
        <source>Keep me signed in</source>
        <translation>保持登录</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>电子邮箱</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>密码</translation>
    </message>
    <message>
        <source>Send Code</source>
        <translation>发送验证码</translation>
    </message>
    <message>
        <source>I agree to the &lt;a href=&quot;%1&quot;&gt;Terms of Service&lt;/a&gt; and have read the &lt;a href=&quot;%2&quot;&gt;Privacy Policy&lt;/a&gt;.</source>
        <translation>我同意&lt;a href=&quot;%1&quot;&gt;服务条款&lt;/a&gt;，并已阅读&lt;a href=&quot;%2&quot;&gt;隐私政策&lt;/a&gt;。</translation>
    </message>
    <message>
        <source>Username</source>
        <translation>用户名</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>确认密码</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>验证码</translation>
    </message>
    <message>
        <source>Signing in needs the online features. Allow them under Cloud &gt; Privacy and Online Features...</source>
        <translation>登录需要开启在线功能。请在“云 &gt; 隐私与在线功能...”中允许。</translation>
    </message>
    <message>
        <source>Please enter your email and password.</source>
        <translation>请输入电子邮箱和密码。</translation>
    </message>
    <message>
        <source>Signing in…</source>
        <translation>正在登录…</translation>
    </message>
    <message>
        <source>Please enter an email address.</source>
        <translation>请输入电子邮箱地址。</translation>
    </message>
    <message>
        <source>Sending the code…</source>
        <translation>正在发送验证码…</translation>
    </message>
    <message>
        <source>Please fill in the user name, the password and the code from the mail.</source>
        <translation>请填写用户名、密码和邮件中的验证码。</translation>
    </message>
    <message>
        <source>Passwords do not match.</source>
        <translation>两次输入的密码不一致。</translation>
    </message>
    <message>
        <source>Please accept the Terms of Service and the Privacy Policy to create an account.</source>
        <translation>请接受服务条款和隐私政策以创建账户。</translation>
    </message>
    <message>
        <source>Creating the account…</source>
        <translation>正在创建账户…</translation>
    </message>
    <message>
        <source>Request failed.</source>
        <translation>请求失败。</translation>
    </message>
    <message>
        <source>Request completed.</source>
        <translation>请求已完成。</translation>
    </message>
</context>
<context>
    <name>AsciiCode</name>
    <message>
        <source>\0 Null character</source>
        <translation>\0 空字符</translation>
    </message>
    <message>
        <source>Start of Header</source>
        <translation>标题开始</translation>
    </message>
    <message>
        <source>Start of Text</source>
        <translation>正文开始</translation>
    </message>
    <message>
        <source>End of Text</source>
        <translation>正文结束</translation>
    </message>
    <message>
        <source>End of Transmission</source>
        <translation>传输结束</translation>
    </message>
    <message>
        <source>Enquiry</source>
        <translation>询问</translation>
    </message>
    <message>
        <source>Acknowledgment</source>
        <translation>确认</translation>
    </message>
    <message>
        <source>\a Bell</source>
        <translation>\a 响铃</translation>
    </message>
    <message>
        <source>\b Backspace</source>
        <translation>\b 退格</translation>
    </message>
    <message>
        <source>\t Horizontal Tab</source>
        <translation>\t 水平制表符</translation>
    </message>
    <message>
        <source>\n Line feed</source>
        <translation>\n 换行</translation>
    </message>
    <message>
        <source>\v Vertical Tab</source>
        <translation>\v 垂直制表符</translation>
    </message>
    <message>
        <source>\f Form feed</source>
        <translation>\f 换页</translation>
    </message>
    <message>
        <source>\r Carriage return</source>
        <translation>\r 回车</translation>
    </message>
    <message>
        <source>Shift Out</source>
        <translation>移出</translation>
    </message>
    <message>
        <source>Shift In</source>
        <translation>移入</translation>
    </message>
    <message>
        <source>Data Link Escape</source>
        <translation>数据链路转义</translation>
    </message>
    <message>
        <source>Device Control 1 (oft. XON)</source>
        <translation>设备控制 1（常用作 XON）</translation>
    </message>
    <message>
        <source>Device Control 2</source>
        <translation>设备控制 2</translation>
    </message>
    <message>
        <source>Device Control 3 (oft. XOFF)</source>
        <translation>设备控制 3（常用作 XOFF）</translation>
    </message>
    <message>
        <source>Device Control 4</source>
        <translation>设备控制 4</translation>
    </message>
    <message>
        <source>Negative Acknowledgement</source>
        <translation>否定应答</translation>
    </message>
    <message>
        <source>Synchronous idle</source>
        <translation>同步空闲</translation>
    </message>
    <message>
        <source>End of Transmission Block</source>
        <translation>传输块结束</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>End of Medium</source>
        <translation>介质结束</translation>
    </message>
    <message>
        <source>Substitute</source>
        <translation>替换</translation>
    </message>
    <message>
        <source>\e Escape</source>
        <translation>\e 转义</translation>
    </message>
    <message>
        <source>File Separator</source>
        <translation>文件分隔符</translation>
    </message>
    <message>
        <source>Group Separator</source>
        <translation>组分隔符</translation>
    </message>
    <message>
        <source>Record Separator</source>
        <translation>记录分隔符</translation>
    </message>
    <message>
        <source>Unit Separator</source>
        <translation>单元分隔符</translation>
    </message>
    <message>
        <source>ASCII Code Chart</source>
        <translation>ASCII 码表</translation>
    </message>
    <message>
        <source>Binary</source>
        <translation>二进制</translation>
    </message>
    <message>
        <source>Decimal</source>
        <translation>十进制</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Abbr/Glyph</source>
        <translation>缩写/字符</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>说明</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>空格</translation>
    </message>
</context>
<context>
    <name>AutoReplyDialog</name>
    <message>
        <source>Auto Reply — %1</source>
        <translation>自动应答 — %1</translation>
    </message>
    <message>
        <source>Let this port play the device: when received data matches a rule, VLM sends the rule&apos;s reply. The first rule whose match ends earliest wins.</source>
        <translation>让此端口扮演设备：收到的数据与某条规则匹配时，VLM 发送该规则的应答。若有多条规则匹配，匹配结束位置最早的规则生效。</translation>
    </message>
    <message>
        <source>Play dead: keep matching and counting, but send nothing</source>
        <translation>假死：继续匹配和计数，但不发送任何内容</translation>
    </message>
    <message>
        <source>Note each match in the receive view</source>
        <translation>在接收区中标注每次匹配</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Match</source>
        <translation>匹配方式</translation>
    </message>
    <message>
        <source>Pattern</source>
        <translation>匹配内容</translation>
    </message>
    <message>
        <source>Reply</source>
        <translation>应答</translation>
    </message>
    <message>
        <source>Delay</source>
        <translation>延时</translation>
    </message>
    <message>
        <source>Hits</source>
        <translation>命中</translation>
    </message>
    <message>
        <source>Add...</source>
        <translation>添加...</translation>
    </message>
    <message>
        <source>Edit...</source>
        <translation>编辑...</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>复制</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation>上移</translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation>下移</translation>
    </message>
    <message>
        <source>Try it</source>
        <translation>试一试</translation>
    </message>
    <message>
        <source>Paste what the host would send, e.g. AT+VER?\r\n</source>
        <translation>粘贴主机将要发送的内容，例如 AT+VER?\r\n</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Test</source>
        <translation>测试</translation>
    </message>
    <message>
        <source>Hex: %1</source>
        <translation>十六进制：%1</translation>
    </message>
    <message>
        <source>(silent)</source>
        <translation>（不应答）</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ms</translation>
    </message>
    <message>
        <source>Rule %1</source>
        <translation>规则 %1</translation>
    </message>
    <message>
        <source>No enabled rule is valid.</source>
        <translation>没有有效的已启用规则。</translation>
    </message>
    <message>
        <source>No rule matches.</source>
        <translation>没有匹配的规则。</translation>
    </message>
    <message>
        <source>%1 replies after %2 ms: %3</source>
        <translation>%1 在 %2 ms 后应答：%3</translation>
    </message>
    <message>
        <source>%1 replies: %2</source>
        <translation>%1 应答：%2</translation>
    </message>
    <message>
        <source>%1 matches and stays silent.</source>
        <translation>%1 匹配，但不应答。</translation>
    </message>
    <message>
        <source>%1 matches; playing dead, nothing is sent.</source>
        <translation>%1 匹配；处于假死状态，不发送任何内容。</translation>
    </message>
    <message>
        <source>%1 matches; it answers one match in %2, not this one.</source>
        <translation>%1 匹配；它每 %2 次匹配才应答一次，本次不应答。</translation>
    </message>
</context>
<context>
    <name>AutoReplyEngine</name>
    <message>
        <source>The pattern is empty.</source>
        <translation>匹配内容为空。</translation>
    </message>
    <message>
        <source>Invalid regular expression: %1</source>
        <translation>无效的正则表达式：%1</translation>
    </message>
    <message>
        <source>The pattern matches empty input.</source>
        <translation>该匹配内容会匹配空输入。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not whole bytes: use two hex digits per byte.</source>
        <translation>&quot;%1&quot; 不是完整的字节：每个字节请用两位十六进制数字。</translation>
    </message>
    <message>
        <source>?? (any byte) is only allowed in a pattern, not in a reply.</source>
        <translation>?? (任意字节) 只能用于匹配内容，不能用于应答。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a hex byte.</source>
        <translation>&quot;%1&quot; 不是十六进制字节。</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Wildcard</source>
        <translation>通配符</translation>
    </message>
    <message>
        <source>Regular expression</source>
        <translation>正则表达式</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>empty reply</source>
        <translation>应答为空</translation>
    </message>
    <message>
        <source>playing dead</source>
        <translation>假死</translation>
    </message>
    <message>
        <source>not the Nth match</source>
        <translation>非第 N 次匹配</translation>
    </message>
    <message>
        <source>dropped</source>
        <translation>已丢弃</translation>
    </message>
</context>
<context>
    <name>AutoReplyRuleDialog</name>
    <message>
        <source>Auto Reply Rule</source>
        <translation>自动应答规则</translation>
    </message>
    <message>
        <source>When this port receives</source>
        <translation>当此端口收到</translation>
    </message>
    <message>
        <source>Optional, e.g. Version query</source>
        <translation>可选，例如：版本查询</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>名称：</translation>
    </message>
    <message>
        <source>Match:</source>
        <translation>匹配方式：</translation>
    </message>
    <message>
        <source>Pattern:</source>
        <translation>匹配内容：</translation>
    </message>
    <message>
        <source>Reply with</source>
        <translation>应答</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Format:</source>
        <translation>格式：</translation>
    </message>
    <message>
        <source>Leave empty to stay silent on a match</source>
        <translation>留空则匹配时不应答</translation>
    </message>
    <message>
        <source>Reply:</source>
        <translation>应答：</translation>
    </message>
    <message>
        <source>Append checksum:</source>
        <translation>附加校验：</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>Delay:</source>
        <translation>延时：</translation>
    </message>
    <message>
        <source>Simulate an unreliable device</source>
        <translation>模拟不可靠的设备</translation>
    </message>
    <message>
        <source>Every match</source>
        <translation>每次匹配都应答</translation>
    </message>
    <message>
        <source>1 in </source>
        <translation>每 </translation>
    </message>
    <message>
        <source> matches</source>
        <translation> 次匹配应答一次</translation>
    </message>
    <message>
        <source>Reply to:</source>
        <translation>应答频率：</translation>
    </message>
    <message>
        <source>3 = stay silent twice, answer the third time; tests a host&apos;s retries.</source>
        <translation>3 = 前两次不应答，第三次才应答；用于测试主机的重试机制。</translation>
    </message>
    <message>
        <source> %</source>
        <translation> %</translation>
    </message>
    <message>
        <source>Drop replies at random:</source>
        <translation>随机丢弃应答：</translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>不限</translation>
    </message>
    <message>
        <source> match(es)</source>
        <translation> 次</translation>
    </message>
    <message>
        <source>Stop after:</source>
        <translation>最多匹配：</translation>
    </message>
    <message>
        <source>After this many matches the rule stops matching, and the rules below it take over.</source>
        <translation>匹配达到此次数后，该规则不再匹配，由其下方的规则接管。</translation>
    </message>
    <message>
        <source>Bytes in hex, e.g. 01 03 ?? ?? 00 02. ?? matches any byte.</source>
        <translation>十六进制字节，例如 01 03 ?? ?? 00 02。?? 匹配任意一个字节。</translation>
    </message>
    <message>
        <source>Text where * matches any run of bytes and ? exactly one. Use \x2A for a literal *.</source>
        <translation>文本，其中 * 匹配任意长度的字节串，? 恰好匹配一个字节。字面的 * 请写作 \x2A。</translation>
    </message>
    <message>
        <source>A Perl-compatible regular expression, run over the received bytes.</source>
        <translation>Perl 兼容的正则表达式，对收到的字节进行匹配。</translation>
    </message>
    <message>
        <source>Exact text. \r \n \t and \xHH stand for the bytes they name.</source>
        <translation>精确文本。\r \n \t 和 \xHH 表示其对应的字节。</translation>
    </message>
    <message>
        <source>Valid.</source>
        <translation>有效。</translation>
    </message>
    <message>
        <source>Matches the bytes %1</source>
        <translation>匹配字节 %1</translation>
    </message>
    <message>
        <source>Nothing is sent: a match is swallowed, and the rules below it do not see those bytes.</source>
        <translation>不发送任何内容：匹配到的数据被吞掉，其下方的规则不会看到这些字节。</translation>
    </message>
    <message numerus="yes">
        <source>Sends %n byte(s): %1</source>
        <translation>
            <numerusform>发送 %n 个字节：%1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>BridgeCommand</name>
    <message>
        <source>Forwards between two connections, both ways.</source>
        <translation>双向转发两个连接之间的数据。</translation>
    </message>
    <message>
        <source>The first connection.</source>
        <translation>第一个连接。</translation>
    </message>
    <message>
        <source>The second connection.</source>
        <translation>第二个连接。</translation>
    </message>
    <message>
        <source>Writes both directions to FILE as a trace.</source>
        <translation>将双向数据作为跟踪记录写入 FILE。</translation>
    </message>
    <message>
        <source>bridge needs two connections: URL_A URL_B.</source>
        <translation>bridge 需要两个连接：URL_A URL_B。</translation>
    </message>
    <message>
        <source>Bridging %1 and %2.</source>
        <translation>正在桥接 %1 和 %2。</translation>
    </message>
</context>
<context>
    <name>BridgeDialog</name>
    <message>
        <source>Edit...</source>
        <translation>编辑...</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>恢复</translation>
    </message>
    <message>
        <source>Bridges</source>
        <translation>桥接</translation>
    </message>
    <message>
        <source>On</source>
        <translation>启用</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>End A</source>
        <translation>端点 A</translation>
    </message>
    <message>
        <source>End B</source>
        <translation>端点 B</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>New...</source>
        <translation>新建...</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>TCP :%1 (built-in)</source>
        <translation>TCP :%1（内置）</translation>
    </message>
    <message>
        <source>Port %1</source>
        <translation>端口 %1</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>&lt;b&gt;%1&lt;/b&gt;&lt;br/&gt;A→B&amp;nbsp; %2 &amp;nbsp; %3/s &amp;nbsp; queue %4 &amp;nbsp; &lt;span style=&apos;color:%9&apos;&gt;dropped %5&lt;/span&gt;&lt;br/&gt;B→A&amp;nbsp; %6 &amp;nbsp; %7/s &amp;nbsp; queue %8 &amp;nbsp; &lt;span style=&apos;color:%9&apos;&gt;dropped %10&lt;/span&gt;</source>
        <translation>&lt;b&gt;%1&lt;/b&gt;&lt;br/&gt;A→B&amp;nbsp; %2 &amp;nbsp; %3/s &amp;nbsp; 队列 %4 &amp;nbsp; &lt;span style=&apos;color:%9&apos;&gt;丢弃 %5&lt;/span&gt;&lt;br/&gt;B→A&amp;nbsp; %6 &amp;nbsp; %7/s &amp;nbsp; 队列 %8 &amp;nbsp; &lt;span style=&apos;color:%9&apos;&gt;丢弃 %10&lt;/span&gt;</translation>
    </message>
    <message>
        <source>&lt;br/&gt;&lt;span style=&apos;color:#c0392b&apos;&gt;Capture stopped: %1&lt;/span&gt;</source>
        <translation>&lt;br/&gt;&lt;span style=&apos;color:#c0392b&apos;&gt;抓包已停止：%1&lt;/span&gt;</translation>
    </message>
    <message>
        <source>ⓘ One end cannot be slowed down (a serial port without flow control, or UDP). If the buffer fills, the newest data is dropped and counted above.</source>
        <translation>ⓘ 有一端无法减速（没有流控的串口，或 UDP）。缓冲区满时，最新的数据会被丢弃，并计入上方的计数。</translation>
    </message>
    <message>
        <source>ⓘ Taking turns is configured, but neither end accepts several clients, so there is nothing to arbitrate.</source>
        <translation>ⓘ 已设置轮流使用，但两端都不接受多个客户端，因此无需仲裁。</translation>
    </message>
    <message>
        <source>Taking turns: %1 waiting, %2 unanswered, %3 dropped</source>
        <translation>轮流使用：%1 个等待，%2 个未应答，%3 个已丢弃</translation>
    </message>
    <message>
        <source>Bridge %1</source>
        <translation>桥接 %1</translation>
    </message>
    <message>
        <source>A bridge joins two ports; add a second port first (Edit &gt; Add Port).</source>
        <translation>桥接需要连接两个端口；请先添加第二个端口（编辑 &gt; 添加端口）。</translation>
    </message>
</context>
<context>
    <name>BridgeEditDialog</name>
    <message>
        <source>Enabled</source>
        <translation>启用</translation>
    </message>
    <message>
        <source>Write a capture file</source>
        <translation>写入抓包文件</translation>
    </message>
    <message>
        <source>Bridge</source>
        <translation>桥接</translation>
    </message>
    <message>
        <source>Built-in TCP listener</source>
        <translation>内置 TCP 监听器</translation>
    </message>
    <message>
        <source>A → B</source>
        <translation>A → B</translation>
    </message>
    <message>
        <source>B → A</source>
        <translation>B → A</translation>
    </message>
    <message>
        <source>A ⇄ B (both ways)</source>
        <translation>A ⇄ B（双向）</translation>
    </message>
    <message>
        <source>Endpoints</source>
        <translation>端点</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>End A</source>
        <translation>端点 A</translation>
    </message>
    <message>
        <source>End B</source>
        <translation>端点 B</translation>
    </message>
    <message>
        <source>Listen on TCP port</source>
        <translation>监听 TCP 端口</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Access</source>
        <translation>访问</translation>
    </message>
    <message>
        <source>Allowed clients</source>
        <translation>允许的客户端</translation>
    </message>
    <message>
        <source>Transparent (pass bytes through)</source>
        <translation>透明（直接传递字节）</translation>
    </message>
    <message>
        <source>RFC 2217 server (remote client sets the serial parameters)</source>
        <translation>RFC 2217 服务器（远程客户端设置串口参数）</translation>
    </message>
    <message>
        <source>RFC 2217 client (set a remote device server&apos;s serial parameters)</source>
        <translation>RFC 2217 客户端（设置远程设备服务器的串口参数）</translation>
    </message>
    <message>
        <source>Modbus TCP to Modbus RTU gateway</source>
        <translation>Modbus TCP 转 Modbus RTU 网关</translation>
    </message>
    <message>
        <source>Protocol</source>
        <translation>协议</translation>
    </message>
    <message>
        <source>Mode</source>
        <translation>模式</translation>
    </message>
    <message>
        <source>Forward immediately (lowest latency)</source>
        <translation>立即转发（延迟最低）</translation>
    </message>
    <message>
        <source>Cut on idle gap (Modbus RTU)</source>
        <translation>按空闲间隔分帧（Modbus RTU）</translation>
    </message>
    <message>
        <source>Cut on delimiter</source>
        <translation>按分隔符分帧</translation>
    </message>
    <message>
        <source>Fixed length</source>
        <translation>固定长度</translation>
    </message>
    <message>
        <source>Hex, e.g. 0D0A</source>
        <translation>十六进制，例如 0D0A</translation>
    </message>
    <message>
        <source>Framing</source>
        <translation>分帧</translation>
    </message>
    <message>
        <source>Idle gap</source>
        <translation>空闲间隔</translation>
    </message>
    <message>
        <source>Delimiter</source>
        <translation>分隔符</translation>
    </message>
    <message>
        <source>Frame length</source>
        <translation>帧长</translation>
    </message>
    <message>
        <source>Slow the sender down (recommended)</source>
        <translation>让发送方减速（推荐）</translation>
    </message>
    <message>
        <source>Drop the oldest data</source>
        <translation>丢弃最旧的数据</translation>
    </message>
    <message>
        <source>Drop the newest data</source>
        <translation>丢弃最新的数据</translation>
    </message>
    <message>
        <source>Stop the bridge and tell me</source>
        <translation>停止桥接并通知我</translation>
    </message>
    <message>
        <source>Flow control</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>When the buffer fills</source>
        <translation>缓冲区满时</translation>
    </message>
    <message>
        <source>Buffer limit</source>
        <translation>缓冲区上限</translation>
    </message>
    <message>
        <source>One client at a time (recommended)</source>
        <translation>一次一个客户端（推荐）</translation>
    </message>
    <message>
        <source>Take turns, one request at a time</source>
        <translation>轮流使用，一次一个请求</translation>
    </message>
    <message>
        <source>All clients share the port</source>
        <translation>所有客户端共享端口</translation>
    </message>
    <message>
        <source>TCP server clients</source>
        <translation>TCP 服务器客户端</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Text (control bytes escaped)</source>
        <translation>文本（控制字节转义）</translation>
    </message>
    <message>
        <source>Capture</source>
        <translation>抓包</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>格式</translation>
    </message>
    <message>
        <source>The network end speaks Telnet. Point a client at it with rfc2217://host:port, or a virtual COM driver that supports RFC 2217.</source>
        <translation>网络端使用 Telnet 协议。客户端请连接 rfc2217://主机:端口，或使用支持 RFC 2217 的虚拟串口驱动。</translation>
    </message>
    <message>
        <source>Modbus RTU has no length field, so the serial side needs &quot;Cut on idle gap&quot; framing for a reply to be recognised as one frame.</source>
        <translation>Modbus RTU 没有长度字段，因此串口端需要使用“按空闲间隔分帧”，才能将一个应答识别为一帧。</translation>
    </message>
    <message>
        <source>Taking turns needs a framing mode that marks where a request ends; with &quot;Forward immediately&quot; there is nothing to take turns with.</source>
        <translation>轮流使用需要能标出请求结束位置的分帧方式；使用“立即转发”时无法轮流。</translation>
    </message>
</context>
<context>
    <name>BridgeEndpoint</name>
    <message>
        <source>this end has no remote serial port</source>
        <translation>此端没有远程串口</translation>
    </message>
</context>
<context>
    <name>BridgeFlow</name>
    <message>
        <source>Egress queue overflowed</source>
        <translation>发送队列溢出</translation>
    </message>
    <message>
        <source>Flood guard tripped (possible cable loop)</source>
        <translation>防洪保护已触发（可能存在线缆环路）</translation>
    </message>
</context>
<context>
    <name>BridgeLink</name>
    <message>
        <source>%1: could not pass the client&apos;s request on to the remote port: %2</source>
        <translation>%1：无法将客户端的请求转交给远程端口：%2</translation>
    </message>
    <message>
        <source>%1 baud</source>
        <translation>波特率 %1</translation>
    </message>
    <message>
        <source>%1 data bits</source>
        <translation>数据位 %1</translation>
    </message>
    <message>
        <source>parity %1</source>
        <translation>校验位 %1</translation>
    </message>
    <message>
        <source>%1 stop bits</source>
        <translation>停止位 %1</translation>
    </message>
    <message>
        <source>flow control %1</source>
        <translation>流控 %1</translation>
    </message>
    <message>
        <source>DTR on</source>
        <translation>DTR 有效</translation>
    </message>
    <message>
        <source>DTR off</source>
        <translation>DTR 无效</translation>
    </message>
    <message>
        <source>RTS on</source>
        <translation>RTS 有效</translation>
    </message>
    <message>
        <source>RTS off</source>
        <translation>RTS 无效</translation>
    </message>
    <message>
        <source>Break on</source>
        <translation>Break 开启</translation>
    </message>
    <message>
        <source>Break off</source>
        <translation>Break 关闭</translation>
    </message>
    <message>
        <source>%1: the local client asked the remote port for %2</source>
        <translation>%1：本地客户端请求远程端口设置 %2</translation>
    </message>
    <message>
        <source>%1: the remote client set %2</source>
        <translation>%1：远程客户端设置了 %2</translation>
    </message>
    <message>
        <source>%1: sent the serial parameters to the remote port</source>
        <translation>%1：已将串口参数发送到远程端口</translation>
    </message>
    <message>
        <source>%1: the remote port did not answer the client&apos;s request within %2 s</source>
        <translation>%1：远程端口未在 %2 秒内应答客户端的请求</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>%1: capture stopped, %2</source>
        <translation>%1：抓包已停止，%2</translation>
    </message>
    <message>
        <source>%1: remote client %2 connected</source>
        <translation>%1：远程客户端 %2 已连接</translation>
    </message>
    <message>
        <source>%1: remote client %2 disconnected</source>
        <translation>%1：远程客户端 %2 已断开</translation>
    </message>
    <message>
        <source>%1: high throughput, forwarded traffic is no longer shown (logging continues)</source>
        <translation>%1：吞吐量过高，不再显示转发的数据（记录继续）</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>已禁用</translation>
    </message>
    <message>
        <source>Suspended: %1</source>
        <translation>已暂停：%1</translation>
    </message>
    <message>
        <source>Running, no client connected</source>
        <translation>运行中，无客户端连接</translation>
    </message>
    <message>
        <source>Running (display paused)</source>
        <translation>运行中（显示已暂停）</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>运行中</translation>
    </message>
    <message>
        <source>Degraded: %1 is closed</source>
        <translation>降级：%1 已关闭</translation>
    </message>
    <message>
        <source>Waiting for both ends to open</source>
        <translation>等待两端打开</translation>
    </message>
</context>
<context>
    <name>BridgeLog</name>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
</context>
<context>
    <name>BridgeLogWriter</name>
    <message>
        <source>Cannot create the log folder %1</source>
        <translation>无法创建日志文件夹 %1</translation>
    </message>
    <message>
        <source>Cannot open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
</context>
<context>
    <name>BridgeManager</name>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1（%2）</translation>
    </message>
    <message>
        <source>Skipped invalid bridge(s): %1</source>
        <translation>已跳过无效的桥接：%1</translation>
    </message>
    <message>
        <source>A bridge needs two different ports</source>
        <translation>桥接需要两个不同的端口</translation>
    </message>
    <message>
        <source>Both ends must name a port</source>
        <translation>两端都必须指定端口</translation>
    </message>
    <message>
        <source>Port number is out of range</source>
        <translation>端口号超出范围</translation>
    </message>
    <message>
        <source>Port %1 is transferring a file</source>
        <translation>端口 %1 正在传输文件</translation>
    </message>
    <message>
        <source>That direction is already bridged</source>
        <translation>该方向已被桥接</translation>
    </message>
    <message>
        <source>End A must name a port</source>
        <translation>A 端必须指定端口</translation>
    </message>
    <message>
        <source>The built-in listener needs a TCP port</source>
        <translation>内置监听需要一个 TCP 端口</translation>
    </message>
    <message>
        <source>TCP port %1 is already used by &quot;%2&quot;</source>
        <translation>TCP 端口 %1 已被“%2”使用</translation>
    </message>
    <message>
        <source>Port %1 is written to by more than one bridge; their data will interleave on its wire.</source>
        <translation>端口 %1 被多个桥接写入；它们的数据将在线路上交错。</translation>
    </message>
    <message>
        <source>Port %1</source>
        <translation>端口 %1</translation>
    </message>
    <message>
        <source>Bridged to %1</source>
        <translation>已桥接到 %1</translation>
    </message>
    <message>
        <source>Removed bridge(s) whose port no longer exists: %1</source>
        <translation>已删除端口不再存在的桥接：%1</translation>
    </message>
</context>
<context>
    <name>BridgeSparkline</name>
    <message>
        <source>Last two minutes. Above the line: A to B. Below: B to A. Red bands mark seconds where data was dropped.</source>
        <translation>最近两分钟。线上方：A 到 B。线下方：B 到 A。红色区域表示有数据被丢弃的秒。</translation>
    </message>
    <message>
        <source>No traffic yet</source>
        <translation>尚无流量</translation>
    </message>
</context>
<context>
    <name>CliCommand</name>
    <message>
        <source>Usage: velmora-cli COMMAND [options]
Runs Velmora&apos;s engines without a window.

Commands:
</source>
        <translation>用法：velmora-cli 命令 [选项]
在无窗口的情况下运行 Velmora 的引擎。

命令：
</translation>
    </message>
    <message>
        <source>
Connections: serial:/dev/ttyUSB0?baud=115200&amp;data=8&amp;parity=none&amp;stop=1&amp;flow=none,
a bare device path, tcp://HOST:PORT, tcp-server://[ADDR]:PORT,
udp://HOST:PORT[?local=N], udp-server://[ADDR]:PORT, or --project FILE.vlm --port N.

Exit codes: 0 passed or done, 1 failed or stopped, 2 bad arguments or input,
3 the connection could not be opened, 130 interrupted.
&quot;velmora-cli COMMAND --help&quot; describes a command.
</source>
        <translation>
连接：serial:/dev/ttyUSB0?baud=115200&amp;data=8&amp;parity=none&amp;stop=1&amp;flow=none，
设备路径本身，tcp://HOST:PORT，tcp-server://[ADDR]:PORT，
udp://HOST:PORT[?local=N]，udp-server://[ADDR]:PORT，或 --project FILE.vlm --port N。

退出码：0 通过或完成，1 失败或被停止，2 参数或输入有误，
3 无法打开连接，130 被中断。
“velmora-cli 命令 --help”说明各命令。
</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no command of velmora-cli; &quot;velmora-cli --help&quot; lists them.</source>
        <translation>“%1”不是 velmora-cli 的命令；“velmora-cli --help”会列出所有命令。</translation>
    </message>
    <message>
        <source>Shows this help.</source>
        <translation>显示此帮助。</translation>
    </message>
    <message>
        <source>A project file (.vlm): its port&apos;s settings, rules and libraries.</source>
        <translation>项目文件（.vlm）：提供其端口的设置、规则和库。</translation>
    </message>
    <message>
        <source>The project&apos;s port, numbered from 1 (default 1).</source>
        <translation>项目中的端口，从 1 开始编号（默认 1）。</translation>
    </message>
    <message>
        <source>This command needs --project FILE.</source>
        <translation>此命令需要 --project FILE。</translation>
    </message>
    <message>
        <source>--port names a port of a project: give --project FILE too.</source>
        <translation>--port 指的是项目中的端口：请同时给出 --project FILE。</translation>
    </message>
    <message>
        <source>Cannot read the project %1.</source>
        <translation>无法读取项目 %1。</translation>
    </message>
    <message>
        <source>%1 is not a Velmora project file.</source>
        <translation>%1 不是 Velmora 项目文件。</translation>
    </message>
    <message>
        <source>--port %1: the project has ports 1 to %2.</source>
        <translation>--port %1：该项目的端口为 1 到 %2。</translation>
    </message>
    <message>
        <source>Name the connection: a URL, or --project FILE --port N.</source>
        <translation>请指定连接：URL，或 --project FILE --port N。</translation>
    </message>
    <message>
        <source>Could not open %1.</source>
        <translation>无法打开 %1。</translation>
    </message>
    <message>
        <source>Could not open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
    <message>
        <source>no answer within %1 s</source>
        <translation>%1 秒内无应答</translation>
    </message>
    <message>
        <source>The serial port went away.</source>
        <translation>串口已消失。</translation>
    </message>
    <message>
        <source>The peer closed the connection.</source>
        <translation>对端关闭了连接。</translation>
    </message>
    <message>
        <source>The name a share&apos;s owner sees for this guest (share:// connections).</source>
        <translation>共享所有者看到的此访客名称（share:// 连接）。</translation>
    </message>
    <message>
        <source>A cloud connection cannot be used here.</source>
        <translation>此处不能使用云连接。</translation>
    </message>
    <message>
        <source>A share:// connection needs --server BASE.</source>
        <translation>share:// 连接需要 --server BASE。</translation>
    </message>
</context>
<context>
    <name>CloudConsoleService</name>
    <message>
        <source>Live Console was switched off.</source>
        <translation>Live Console 已关闭。</translation>
    </message>
    <message>
        <source>Live Console stopped: monthly traffic quota used up. Please top up to continue.</source>
        <translation>Live Console 已停止：本月流量配额已用完。请充值后继续。</translation>
    </message>
    <message>
        <source>unsupported command: %1</source>
        <translation>不支持的命令：%1</translation>
    </message>
    <message>
        <source>this computer holds no such share</source>
        <translation>本机没有这个共享</translation>
    </message>
    <message>
        <source>remote send is disabled on the device</source>
        <translation>设备上已禁用远程发送</translation>
    </message>
    <message>
        <source>remote port control is disabled on the device</source>
        <translation>设备上已禁用远程端口控制</translation>
    </message>
    <message>
        <source>cloud relay is disabled on the device</source>
        <translation>设备上已禁用云中继</translation>
    </message>
    <message>
        <source>the command was meant for an earlier run of this computer</source>
        <translation>该命令是发给本机上一次运行的</translation>
    </message>
    <message>
        <source>this computer has no port %1</source>
        <translation>本机没有端口 %1</translation>
    </message>
    <message>
        <source>the hex text is not pairs of hexadecimal digits</source>
        <translation>十六进制文本不是成对的十六进制数字</translation>
    </message>
    <message>
        <source>empty payload</source>
        <translation>内容为空</translation>
    </message>
    <message>
        <source>open_relay needs a relay_id and a ticket</source>
        <translation>open_relay 需要 relay_id 和 ticket</translation>
    </message>
    <message>
        <source>this port already has a relay</source>
        <translation>该端口已有一个中继</translation>
    </message>
    <message>
        <source>Guest</source>
        <translation>访客</translation>
    </message>
    <message>
        <source>Live Relay was switched off on this computer.</source>
        <translation>本机已关闭 Live Relay。</translation>
    </message>
    <message>
        <source>this port cannot be relayed</source>
        <translation>该端口无法中继</translation>
    </message>
    <message>
        <source>A share is still being created; wait for it.</source>
        <translation>仍在创建一个共享，请稍候。</translation>
    </message>
    <message>
        <source>Switch Live Console on first: the share travels over its channel.</source>
        <translation>请先开启 Live Console：共享通过它的通道传输。</translation>
    </message>
    <message>
        <source>Unknown browser level &quot;%1&quot;.</source>
        <translation>未知的浏览器权限级别“%1”。</translation>
    </message>
    <message>
        <source>Allow at least one way in: the browser, Velmora, or both.</source>
        <translation>请至少允许一种进入方式：浏览器、Velmora 或两者。</translation>
    </message>
    <message>
        <source>A passcode is 4–16 characters.</source>
        <translation>访问密码为 4–16 个字符。</translation>
    </message>
    <message>
        <source>A share lasts 1, 4, 12 or 24 hours.</source>
        <translation>共享的有效期为 1、4、12 或 24 小时。</translation>
    </message>
    <message>
        <source>This computer has no port %1.</source>
        <translation>本计算机没有端口 %1。</translation>
    </message>
    <message>
        <source>The cloud cannot be reached: sign in and try again.</source>
        <translation>无法连接云服务：请登录后重试。</translation>
    </message>
    <message>
        <source>The server refused the share (%1).</source>
        <translation>服务器拒绝了该共享（%1）。</translation>
    </message>
    <message>
        <source>Too many wrong passcodes; the share was revoked.</source>
        <translation>访问密码错误次数过多，共享已被撤销。</translation>
    </message>
    <message>
        <source>The share no longer matched this run.</source>
        <translation>该共享已不属于本次运行。</translation>
    </message>
    <message>
        <source>The share ended.</source>
        <translation>共享已结束。</translation>
    </message>
    <message>
        <source>The share expired.</source>
        <translation>共享已过期。</translation>
    </message>
    <message>
        <source>The shared port was closed.</source>
        <translation>共享的端口已关闭。</translation>
    </message>
    <message>
        <source>Sign in to see your shares.</source>
        <translation>请登录以查看您的共享。</translation>
    </message>
    <message>
        <source>the share has expired</source>
        <translation>共享已过期</translation>
    </message>
    <message>
        <source>the share is for another port</source>
        <translation>该共享属于另一个端口</translation>
    </message>
    <message>
        <source>the share does not allow this</source>
        <translation>该共享不允许此操作</translation>
    </message>
</context>
<context>
    <name>CloudSettingsPage</name>
    <message>
        <source>The base address of a velmora-cloud server, such as https://cloud.example.com or http://127.0.0.1:8750. Leave it empty to keep every cloud feature off.</source>
        <translation>velmora-cloud 服务器的基础地址，例如 https://cloud.example.com 或 http://127.0.0.1:8750。留空则关闭所有云功能。</translation>
    </message>
    <message>
        <source>Sync my preferences with my account</source>
        <translation>将我的偏好设置与账户同步</translation>
    </message>
    <message>
        <source>Sync automatically every</source>
        <translation>自动同步，间隔</translation>
    </message>
    <message>
        <source> min</source>
        <translation> 分钟</translation>
    </message>
    <message>
        <source>Include the send history</source>
        <translation>包括发送历史</translation>
    </message>
    <message>
        <source>Privacy and Online Features...</source>
        <translation>隐私与在线功能...</translation>
    </message>
    <message>
        <source>Cloud server</source>
        <translation>云服务器</translation>
    </message>
    <message>
        <source>This computer&apos;s name</source>
        <translation>本机名称</translation>
    </message>
</context>
<context>
    <name>CloudSignIn</name>
    <message>
        <source>Cannot read the password file %1: %2</source>
        <translation>无法读取密码文件 %1：%2</translation>
    </message>
    <message>
        <source>The password file %1 is empty.</source>
        <translation>密码文件 %1 为空。</translation>
    </message>
    <message>
        <source>The cloud server&apos;s address, such as https://HOST.</source>
        <translation>云服务器地址，例如 https://HOST。</translation>
    </message>
    <message>
        <source>The cloud account&apos;s email address.</source>
        <translation>云账户的电子邮件地址。</translation>
    </message>
    <message>
        <source>A file whose first line is the account&apos;s password.</source>
        <translation>第一行为账户密码的文件。</translation>
    </message>
    <message>
        <source>The cloud needs --server BASE, --login EMAIL and --password-file F.</source>
        <translation>使用云需要 --server BASE、--login EMAIL 和 --password-file F。</translation>
    </message>
    <message>
        <source>the server refused the sign-in</source>
        <translation>服务器拒绝了登录</translation>
    </message>
    <message>
        <source>no answer within %1 s</source>
        <translation>%1 秒内无应答</translation>
    </message>
    <message>
        <source>Could not sign in to %1 as %2: %3</source>
        <translation>无法以 %2 登录 %1：%3</translation>
    </message>
</context>
<context>
    <name>CommandEditDialog</name>
    <message>
        <source>Command</source>
        <translation>命令</translation>
    </message>
</context>
<context>
    <name>CommandEditor</name>
    <message>
        <source>Shown on the button, e.g. Version</source>
        <translation>显示在按钮上，例如：版本</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>名称：</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Format:</source>
        <translation>格式：</translation>
    </message>
    <message>
        <source>Sends:</source>
        <translation>发送内容：</translation>
    </message>
    <message>
        <source>As the port&apos;s send settings</source>
        <translation>与端口的发送设置相同</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>CR (\r)</source>
        <translation>CR (\r)</translation>
    </message>
    <message>
        <source>LF (\n)</source>
        <translation>LF (\n)</translation>
    </message>
    <message>
        <source>CR LF (\r\n)</source>
        <translation>CR LF (\r\n)</translation>
    </message>
    <message>
        <source>LF CR (\n\r)</source>
        <translation>LF CR (\n\r)</translation>
    </message>
    <message>
        <source>Line ending:</source>
        <translation>换行符：</translation>
    </message>
    <message>
        <source>Append checksum:</source>
        <translation>附加校验：</translation>
    </message>
    <message>
        <source>Sends the command to the focused port from anywhere in the window, e.g. Ctrl+1.</source>
        <translation>在窗口任意位置按下即可向当前端口发送该命令，例如 Ctrl+1。</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清除</translation>
    </message>
    <message>
        <source>Shortcut:</source>
        <translation>快捷键：</translation>
    </message>
    <message>
        <source>Optional, shown as the tool tip</source>
        <translation>可选，显示为工具提示</translation>
    </message>
    <message>
        <source>Note:</source>
        <translation>备注：</translation>
    </message>
    <message>
        <source>Bytes in hex, two digits each, e.g. 01 03 00 00 00 01.</source>
        <translation>十六进制字节，每个字节两位，例如 01 03 00 00 00 01。</translation>
    </message>
    <message>
        <source>Text. \r \n \t and \xHH stand for the bytes they name; each new line gets the line ending below.</source>
        <translation>文本。\r \n \t 和 \xHH 表示其对应的字节；每个新行都会附加下方设置的换行符。</translation>
    </message>
    <message numerus="yes">
        <source>On the focused port this sends %n byte(s): %1</source>
        <translation>
            <numerusform>在当前端口上将发送 %n 个字节：%1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>CommandLibraryCodec</name>
    <message>
        <source>The existing file could not be replaced.</source>
        <translation>无法替换已有文件。</translation>
    </message>
    <message>
        <source>The file could not be written.</source>
        <translation>无法写入文件。</translation>
    </message>
    <message>
        <source>The file does not exist.</source>
        <translation>文件不存在。</translation>
    </message>
    <message>
        <source>The file could not be read.</source>
        <translation>无法读取文件。</translation>
    </message>
    <message>
        <source>This is not an VLM command file.</source>
        <translation>这不是 VLM 命令文件。</translation>
    </message>
</context>
<context>
    <name>CommandLibraryDialog</name>
    <message>
        <source>Hex: %1</source>
        <translation>十六进制：%1</translation>
    </message>
    <message>
        <source>Command Library</source>
        <translation>命令库</translation>
    </message>
    <message>
        <source>Commands</source>
        <translation>命令</translation>
    </message>
    <message>
        <source>Sequences</source>
        <translation>序列</translation>
    </message>
    <message>
        <source>Import...</source>
        <translation>导入...</translation>
    </message>
    <message>
        <source>Add the commands and sequences of a .vlmcmd file to this library</source>
        <translation>将 .vlmcmd 文件中的命令和序列添加到此命令库</translation>
    </message>
    <message>
        <source>Export...</source>
        <translation>导出...</translation>
    </message>
    <message>
        <source>Save this library as a .vlmcmd file to hand to a colleague or a customer</source>
        <translation>将此命令库保存为 .vlmcmd 文件，以便交给同事或客户</translation>
    </message>
    <message>
        <source>Groups:</source>
        <translation>分组：</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>添加</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>重命名</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation>上移</translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation>下移</translation>
    </message>
    <message>
        <source>Commands in this group:</source>
        <translation>本组命令：</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Sends</source>
        <translation>发送内容</translation>
    </message>
    <message>
        <source>Shortcut</source>
        <translation>快捷键</translation>
    </message>
    <message>
        <source>Add...</source>
        <translation>添加...</translation>
    </message>
    <message>
        <source>Edit...</source>
        <translation>编辑...</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>复制</translation>
    </message>
    <message>
        <source>Sequences:</source>
        <translation>序列：</translation>
    </message>
    <message>
        <source>Steps:</source>
        <translation>步骤：</translation>
    </message>
    <message>
        <source>Add Step</source>
        <translation>添加步骤</translation>
    </message>
    <message>
        <source>Send a Command...</source>
        <translation>发送命令...</translation>
    </message>
    <message>
        <source>Expect a Reply...</source>
        <translation>期望应答...</translation>
    </message>
    <message>
        <source>Wait...</source>
        <translation>等待...</translation>
    </message>
    <message>
        <source>Label...</source>
        <translation>标签...</translation>
    </message>
    <message>
        <source>Repeat...</source>
        <translation>重复...</translation>
    </message>
    <message>
        <source>Add steps with Add Step.</source>
        <translation>请通过“添加步骤”添加步骤。</translation>
    </message>
    <message numerus="yes">
        <source>Ready to run, %n step(s).</source>
        <translation>
            <numerusform>可以运行，共 %n 个步骤。</numerusform>
        </translation>
    </message>
    <message>
        <source>Group</source>
        <translation>分组</translation>
    </message>
    <message numerus="yes">
        <source>Remove the group &quot;%1&quot; and its %n command(s)?</source>
        <translation>
            <numerusform>删除分组 &quot;%1&quot; 及其中的 %n 条命令？</numerusform>
        </translation>
    </message>
    <message>
        <source>Sequence %1</source>
        <translation>序列 %1</translation>
    </message>
    <message>
        <source>Remove the sequence &quot;%1&quot;?</source>
        <translation>删除序列 &quot;%1&quot;？</translation>
    </message>
    <message>
        <source>VLM command files (*.vlmcmd)</source>
        <translation>VLM 命令文件 (*.vlmcmd)</translation>
    </message>
    <message>
        <source>%1 could not be imported: %2</source>
        <translation>无法导入 %1：%2</translation>
    </message>
    <message>
        <source>%1 has no commands or sequences to add.</source>
        <translation>%1 中没有可添加的命令或序列。</translation>
    </message>
    <message numerus="yes">
        <source>Added %n group(s) and sequence(s) from %1. Names already in use got a number.</source>
        <translation>
            <numerusform>已从 %1 添加 %n 个分组和序列。与现有名称重复的已加上编号。</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 could not be written: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
</context>
<context>
    <name>CommandLibraryText</name>
    <message>
        <source>(empty)</source>
        <translation>（空）</translation>
    </message>
    <message>
        <source>Send %1</source>
        <translation>发送 %1</translation>
    </message>
    <message>
        <source>Wait %1 ms</source>
        <translation>等待 %1 ms</translation>
    </message>
    <message>
        <source>Expect &quot;%1&quot; within %2 ms</source>
        <translation>期望 %2 ms 内收到 &quot;%1&quot;</translation>
    </message>
    <message>
        <source>Expect &quot;%1&quot; (no time limit)</source>
        <translation>期望收到 &quot;%1&quot;（不限时）</translation>
    </message>
    <message>
        <source>the start</source>
        <translation>开头</translation>
    </message>
    <message numerus="yes">
        <source>Repeat from %1, %n time(s) in all</source>
        <translation>
            <numerusform>从 %1 重复执行，共 %n 次</numerusform>
        </translation>
    </message>
    <message>
        <source>Repeat from %1 until stopped</source>
        <translation>从 %1 重复执行，直到停止</translation>
    </message>
    <message>
        <source>Label &quot;%1&quot;</source>
        <translation>标签 &quot;%1&quot;</translation>
    </message>
    <message>
        <source>The command is empty.</source>
        <translation>命令为空。</translation>
    </message>
</context>
<context>
    <name>CommandPanel</name>
    <message>
        <source>Shortcut: %1</source>
        <translation>快捷键：%1</translation>
    </message>
    <message>
        <source>Edit Library...</source>
        <translation>编辑命令库...</translation>
    </message>
    <message>
        <source>More</source>
        <translation>更多</translation>
    </message>
    <message>
        <source>Import...</source>
        <translation>导入...</translation>
    </message>
    <message>
        <source>Export...</source>
        <translation>导出...</translation>
    </message>
    <message>
        <source>Learn More</source>
        <translation>了解更多</translation>
    </message>
    <message>
        <source>No commands yet. Add some with Edit Library, or import a .vlmcmd file.</source>
        <translation>还没有命令。请通过“编辑命令库”添加，或导入 .vlmcmd 文件。</translation>
    </message>
    <message>
        <source>Sequences</source>
        <translation>序列</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>Run</source>
        <translation>运行</translation>
    </message>
    <message numerus="yes">
        <source>%n step(s)</source>
        <translation>
            <numerusform>%n 步</numerusform>
        </translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
</context>
<context>
    <name>Config</name>
    <message>
        <source>The cloud server address must be an http:// or https:// address such as https://cloud.example.com.</source>
        <translation>云服务器地址必须是 http:// 或 https:// 地址，例如 https://cloud.example.com。</translation>
    </message>
    <message>
        <source>The cloud server address takes no user name, query or fragment.</source>
        <translation>云服务器地址不能包含用户名、查询参数或片段。</translation>
    </message>
</context>
<context>
    <name>ConnectionController</name>
    <message>
        <source>Serial Port %1 OPEN FAILED! ERROR: </source>
        <translation>串口 %1 打开失败！错误：</translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN SUCCESS</source>
        <translation>串口 %1 打开成功</translation>
    </message>
    <message>
        <source>the port is not open</source>
        <translation>端口未打开</translation>
    </message>
    <message>
        <source>baud rate %1</source>
        <translation>波特率 %1</translation>
    </message>
    <message>
        <source>%1 data bits</source>
        <translation>数据位 %1</translation>
    </message>
    <message>
        <source>parity</source>
        <translation>校验位</translation>
    </message>
    <message>
        <source>stop bits</source>
        <translation>停止位</translation>
    </message>
    <message>
        <source>flow control</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>%1 was refused by the driver: %2</source>
        <translation>驱动程序拒绝设置 %1：%2</translation>
    </message>
    <message>
        <source>Open the serial port before sending Break</source>
        <translation>请先打开串口，再发送 Break 信号</translation>
    </message>
    <message>
        <source>Failed to set %1: %2</source>
        <translation>设置 %1 失败：%2</translation>
    </message>
    <message>
        <source>RTS is managed automatically by RTS/CTS flow control</source>
        <translation>RTS 由 RTS/CTS 流控自动管理</translation>
    </message>
    <message>
        <source>Serial Port %1 DISCONNECTED</source>
        <translation>串口 %1 已断开</translation>
    </message>
    <message>
        <source>TCP connection error: %1</source>
        <translation>TCP 连接错误：%1</translation>
    </message>
    <message>
        <source>TCP connect FAILED: %1</source>
        <translation>TCP 连接失败：%1</translation>
    </message>
    <message>
        <source>Refused %1: %2</source>
        <translation>已拒绝 %1：%2</translation>
    </message>
    <message>
        <source>TCP server listen on port %1 FAILED: %2</source>
        <translation>TCP 服务器监听端口 %1 失败：%2</translation>
    </message>
    <message>
        <source>UDP bind to port %1 FAILED: %2</source>
        <translation>UDP 绑定端口 %1 失败：%2</translation>
    </message>
    <message>
        <source>UDP host %1 could not be resolved: %2</source>
        <translation>无法解析 UDP 主机 %1：%2</translation>
    </message>
    <message>
        <source>it has no IPv4 address</source>
        <translation>该主机没有 IPv4 地址</translation>
    </message>
    <message>
        <source>No UDP peer to reply to yet</source>
        <translation>尚无可回复的 UDP 对端</translation>
    </message>
    <message>
        <source>Serial Port %1 CLOSE FAILED</source>
        <translation>串口 %1 关闭失败</translation>
    </message>
    <message>
        <source>Serial Port %1 CLOSE SUCCESS</source>
        <translation>串口 %1 关闭成功</translation>
    </message>
</context>
<context>
    <name>ConnectionSettingsWidget</name>
    <message>
        <source>A port from the list, or any device path such as /dev/serial/by-id/... or a pseudo-terminal</source>
        <translation>从列表中选择端口，或输入任意设备路径，例如 /dev/serial/by-id/... 或伪终端</translation>
    </message>
    <message>
        <source>Serial transfer speed</source>
        <translation>串口传输速率</translation>
    </message>
    <message>
        <source>Mode</source>
        <translation>模式</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>Baudrate</source>
        <translation>波特率</translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation>数据位</translation>
    </message>
    <message>
        <source>Parity</source>
        <translation>校验位</translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation>停止位</translation>
    </message>
    <message>
        <source>Flow Type</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>Host</source>
        <translation>主机</translation>
    </message>
    <message>
        <source>Port number</source>
        <translation>端口号</translation>
    </message>
    <message>
        <source>Local port</source>
        <translation>本地端口</translation>
    </message>
    <message>
        <source>Listen port</source>
        <translation>监听端口</translation>
    </message>
    <message>
        <source>Serial</source>
        <translation>串口</translation>
    </message>
    <message>
        <source>TCP Server</source>
        <translation>TCP 服务器</translation>
    </message>
    <message>
        <source>TCP Client</source>
        <translation>TCP 客户端</translation>
    </message>
    <message>
        <source>UDP Server</source>
        <translation>UDP 服务器</translation>
    </message>
    <message>
        <source>UDP Client</source>
        <translation>UDP 客户端</translation>
    </message>
    <message>
        <source>Remote Serial (RFC 2217)</source>
        <translation>远程串口 (RFC 2217)</translation>
    </message>
    <message>
        <source>Live Relay</source>
        <translation>Live Relay</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>Even</source>
        <translation>偶校验</translation>
    </message>
    <message>
        <source>Odd</source>
        <translation>奇校验</translation>
    </message>
    <message>
        <source>Mark</source>
        <translation>标记校验</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>空格校验</translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation>RTS/CTS</translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation>XON/XOFF</translation>
    </message>
    <message>
        <source>Custom</source>
        <translation>自定义</translation>
    </message>
    <message>
        <source>UDP Group</source>
        <translation>UDP 组播</translation>
    </message>
    <message>
        <source>Unused</source>
        <translation>未使用</translation>
    </message>
    <message>
        <source>Bits per second</source>
        <translation>每秒比特数</translation>
    </message>
    <message>
        <source>Enter a rate from 0 to 100000000 bits per second</source>
        <translation>请输入 0 到 100000000 之间的速率（单位 bit/s）</translation>
    </message>
    <message>
        <source>Keep the remote port&apos;s own config</source>
        <translation>保留远程端口自身配置</translation>
    </message>
    <message>
        <source>Leave baud rate, framing and the control lines as the remote port has them; clear it to set them from here</source>
        <translation>波特率、帧格式和控制线保持远程端口自身的设置；取消勾选则由此处设置</translation>
    </message>
</context>
<context>
    <name>ConnectionUrl</name>
    <message>
        <source>No connection was given.</source>
        <translation>未给出连接。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; needs // after the scheme, as in %2://HOST:PORT.</source>
        <translation>“%1”的协议名后需要 //，例如 %2://HOST:PORT。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; names no port to listen on: use %2://[ADDR]:PORT with a port from 0 to 65535.</source>
        <translation>“%1”未指定监听端口：请使用 %2://[ADDR]:PORT，端口为 0 到 65535。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; names no host and port: use %2://HOST:PORT with a port from 1 to 65535.</source>
        <translation>“%1”未指定主机和端口：请使用 %2://HOST:PORT，端口为 1 到 65535。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a parameter of %2 connections.</source>
        <translation>“%1”不是 %2 连接的参数。</translation>
    </message>
    <message>
        <source>local=%1 is no port: use 0 to 65535.</source>
        <translation>local=%1 不是端口：请使用 0 到 65535。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; names no serial port.</source>
        <translation>“%1”未指定串口。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a parameter of serial connections.</source>
        <translation>“%1”不是串口连接的参数。</translation>
    </message>
    <message>
        <source>baud=%1 is no baud rate.</source>
        <translation>baud=%1 不是波特率。</translation>
    </message>
    <message>
        <source>data=%1: data bits are 5 to 8.</source>
        <translation>data=%1：数据位为 5 到 8。</translation>
    </message>
    <message>
        <source>%1=%2: use one of %3.</source>
        <translation>%1=%2：请使用以下之一：%3。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; needs // after the scheme, as in relay://DEVICE/PORT_KEY.</source>
        <translation>“%1”的协议名后需要 //，例如 relay://DEVICE/PORT_KEY。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; names no computer and port: use relay://DEVICE/PORT_KEY.</source>
        <translation>“%1”未指明计算机和端口：请使用 relay://DEVICE/PORT_KEY。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a parameter of relay connections.</source>
        <translation>“%1”不是中继连接的参数。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; needs // after the scheme, as in share://CODE.</source>
        <translation>“%1”的协议名后需要 //，例如 share://CODE。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; holds no invite code: use share://XXXX-XXXX-XXXX.</source>
        <translation>“%1”中没有邀请码：请使用 share://XXXX-XXXX-XXXX。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a parameter of share connections.</source>
        <translation>“%1”不是共享连接的参数。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no connection: use serial:PATH, tcp://HOST:PORT, tcp-server://[ADDR]:PORT, udp://HOST:PORT, udp-server://[ADDR]:PORT, rfc2217://HOST:PORT, relay://DEVICE/PORT_KEY or share://CODE.</source>
        <translation>“%1”不是连接：请使用 serial:PATH、tcp://HOST:PORT、tcp-server://[ADDR]:PORT、udp://HOST:PORT、udp-server://[ADDR]:PORT、rfc2217://HOST:PORT、relay://DEVICE/PORT_KEY 或 share://CODE。</translation>
    </message>
</context>
<context>
    <name>ConsolePort</name>
    <message>
        <source>the port is not open</source>
        <translation>端口未打开</translation>
    </message>
    <message>
        <source>the port refused the data</source>
        <translation>端口拒绝了数据</translation>
    </message>
</context>
<context>
    <name>ControlLineLedRow</name>
    <message>
        <source>Click to switch RTS</source>
        <translation>单击切换 RTS</translation>
    </message>
    <message>
        <source>Click to switch DTR</source>
        <translation>单击切换 DTR</translation>
    </message>
    <message>
        <source>Break</source>
        <translation>Break</translation>
    </message>
    <message>
        <source>Hold to send a break (at least 300 ms)</source>
        <translation>按住以发送 Break 信号（至少 300 ms）</translation>
    </message>
    <message>
        <source>BRK</source>
        <translation>BRK</translation>
    </message>
</context>
<context>
    <name>CrcCatalog</name>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>Checksum-8 (SUM)</source>
        <translation>校验和-8 (SUM)</translation>
    </message>
    <message>
        <source>XOR (BCC)</source>
        <translation>异或 (BCC)</translation>
    </message>
</context>
<context>
    <name>CrcCommand</name>
    <message>
        <source>Prints the checksum of bytes under one of the 53 script checksum names.</source>
        <translation>按 53 种脚本校验名称之一计算字节的校验值。</translation>
    </message>
    <message>
        <source>The checksum: %1.</source>
        <translation>校验算法：%1。</translation>
    </message>
    <message>
        <source>The bytes as hex pairs.</source>
        <translation>以十六进制字节对给出的字节。</translation>
    </message>
    <message>
        <source>The bytes as UTF-8 text.</source>
        <translation>以 UTF-8 文本给出的字节。</translation>
    </message>
    <message>
        <source>The bytes of a file.</source>
        <translation>文件中的字节。</translation>
    </message>
    <message>
        <source>Give exactly one of --hex, --text and --file.</source>
        <translation>请只给出 --hex、--text 和 --file 中的一个。</translation>
    </message>
    <message>
        <source>Cannot read %1: %2</source>
        <translation>无法读取 %1：%2</translation>
    </message>
    <message>
        <source>Name one checksum, e.g. &quot;velmora-cli crc crc16modbus --hex 0103&quot;.</source>
        <translation>请指定一种校验，例如“velmora-cli crc crc16modbus --hex 0103”。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no checksum name; &quot;velmora-cli crc --help&quot; lists them.</source>
        <translation>“%1”不是校验名称；“velmora-cli crc --help”会列出所有名称。</translation>
    </message>
</context>
<context>
    <name>DecodeCommand</name>
    <message>
        <source>Decodes Modbus or template frames from an events file or a live port.</source>
        <translation>从事件文件或实时端口解码 Modbus 或模板帧。</translation>
    </message>
    <message>
        <source>A live connection to decode.</source>
        <translation>要解码的实时连接。</translation>
    </message>
    <message>
        <source>Decodes Modbus: rtu, ascii or tcp.</source>
        <translation>解码 Modbus：rtu、ascii 或 tcp。</translation>
    </message>
    <message>
        <source>Decodes with a frame template of the --project library.</source>
        <translation>使用 --project 库中的帧模板解码。</translation>
    </message>
    <message>
        <source>Writes the frames CSV to FILE.</source>
        <translation>将帧 CSV 写入 FILE。</translation>
    </message>
    <message>
        <source>Writes the fields CSV to FILE.</source>
        <translation>将字段 CSV 写入 FILE。</translation>
    </message>
    <message>
        <source>Give either --modbus rtu|ascii|tcp or --template NAME --project FILE.</source>
        <translation>请给出 --modbus rtu|ascii|tcp 或 --template NAME --project FILE 之一。</translation>
    </message>
    <message>
        <source>Give either --events FILE or a connection to decode.</source>
        <translation>请给出 --events FILE 或要解码的连接之一。</translation>
    </message>
    <message>
        <source>--modbus %1: use rtu, ascii or tcp.</source>
        <translation>--modbus %1：请使用 rtu、ascii 或 tcp。</translation>
    </message>
    <message>
        <source>--template names a template of a project: give --project FILE too.</source>
        <translation>--template 指的是项目中的模板：请同时给出 --project FILE。</translation>
    </message>
    <message>
        <source>Cannot read %1: %2</source>
        <translation>无法读取 %1：%2</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1：%2</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>An events file (lines of &quot;&lt;ms&gt; &lt;tx|rx&gt; &lt;hex&gt; [peer]&quot;) or a .vlmlog recording, with --port ID for one of its ports.</source>
        <translation>事件文件（每行为“&lt;ms&gt; &lt;tx|rx&gt; &lt;hex&gt; [peer]”）或 .vlmlog 录制文件，用 --port ID 选择其中一个端口。</translation>
    </message>
    <message>
        <source>%1 holds %2 ports: choose one with --port ID.</source>
        <translation>%1 含有 %2 个端口：请用 --port ID 选择一个。</translation>
    </message>
    <message>
        <source>Could not read the recording again.</source>
        <translation>无法再次读取该录制文件。</translation>
    </message>
</context>
<context>
    <name>DecodeEvents</name>
    <message>
        <source>expected &quot;&lt;ms&gt; &lt;tx|rx&gt; &lt;hex&gt; [peer]&quot;</source>
        <translation>应为 &quot;&lt;ms&gt; &lt;tx|rx&gt; &lt;hex&gt; [peer]&quot;</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a time in milliseconds</source>
        <translation>&quot;%1&quot; 不是以毫秒计的时间</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not tx or rx</source>
        <translation>&quot;%1&quot; 不是 tx 或 rx</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not bytes in hex (two digits each, no blanks)</source>
        <translation>&quot;%1&quot; 不是十六进制字节（每字节两位数字，不含空格）</translation>
    </message>
    <message>
        <source>Line %1: %2</source>
        <translation>第 %1 行：%2</translation>
    </message>
    <message>
        <source>The events cannot be read: %1</source>
        <translation>无法读取事件：%1</translation>
    </message>
</context>
<context>
    <name>DiagnosticPack</name>
    <message>
        <source>Data sent and received this session (includes everything you sent)</source>
        <translation>本次会话收发的数据（包括您发送的全部内容）</translation>
    </message>
    <message>
        <source>Project settings (ports, layout and bridges; names and paths left out)</source>
        <translation>工程设置（端口、布局和桥接；不含名称和路径）</translation>
    </message>
    <message>
        <source>Command library, sequences, auto reply rules and frame templates</source>
        <translation>命令库、序列、自动应答规则和帧模板</translation>
    </message>
    <message>
        <source>Send history (may contain passwords you typed)</source>
        <translation>发送历史（可能包含您输入的密码）</translation>
    </message>
    <message>
        <source>Bridge captures (last 1 MB each)</source>
        <translation>桥接抓包（每个最后 1 MB）</translation>
    </message>
    <message>
        <source>Sequence reports</source>
        <translation>序列报告</translation>
    </message>
    <message>
        <source>Program, system and screens</source>
        <translation>程序、系统和屏幕</translation>
    </message>
    <message>
        <source>Application settings (allow-list)</source>
        <translation>应用程序设置（允许列表）</translation>
    </message>
    <message>
        <source>Serial ports of this computer</source>
        <translation>本计算机的串口</translation>
    </message>
    <message>
        <source>What is shared through the cloud</source>
        <translation>通过云端共享的内容</translation>
    </message>
    <message>
        <source>The project, filtered</source>
        <translation>工程（已过滤）</translation>
    </message>
    <message>
        <source>Port settings and counters</source>
        <translation>端口设置和计数</translation>
    </message>
    <message>
        <source>Data sent and received, JSON Lines</source>
        <translation>收发的数据，JSON Lines</translation>
    </message>
    <message>
        <source>Data sent and received, text</source>
        <translation>收发的数据，文本</translation>
    </message>
    <message>
        <source>Sequence reports, text</source>
        <translation>序列报告，文本</translation>
    </message>
    <message>
        <source>Sequence reports, JSON</source>
        <translation>序列报告，JSON</translation>
    </message>
    <message>
        <source>Bridge settings and counters</source>
        <translation>桥接设置和计数</translation>
    </message>
    <message>
        <source>Bridge capture, last 1 MB</source>
        <translation>桥接抓包，最后 1 MB</translation>
    </message>
    <message>
        <source>Session recording</source>
        <translation>会话录制</translation>
    </message>
    <message>
        <source>What this pack holds, English and Chinese</source>
        <translation>本诊断包的内容说明，英文和中文</translation>
    </message>
</context>
<context>
    <name>DiagnosticPackDialog</name>
    <message>
        <source>Export Diagnostic Pack</source>
        <translation>导出诊断包</translation>
    </message>
    <message>
        <source>A pack for support. Always included: program and system versions, screens, application settings on an allow-list, the serial ports of this computer, each port&apos;s settings and counters, and the bridge settings. Machine IDs, user and computer names are replaced by &quot;[redacted]&quot; everywhere, and home folders are shown as &quot;~&quot;.</source>
        <translation>供技术支持使用的诊断包。始终包含：程序和系统版本、屏幕、允许列表中的应用程序设置、本计算机的串口、每个端口的设置和计数，以及桥接设置。机器 ID、用户名和计算机名在任何位置都会被替换为“[redacted]”，主文件夹显示为“~”。</translation>
    </message>
    <message>
        <source>The ports hold %1 of session data now.</source>
        <translation>各端口当前保存了 %1 的会话数据。</translation>
    </message>
    <message>
        <source>Contents:</source>
        <translation>内容：</translation>
    </message>
    <message>
        <source>Save...</source>
        <translation>保存...</translation>
    </message>
    <message>
        <source>This list, with sizes</source>
        <translation>本列表，附大小</translation>
    </message>
    <message>
        <source>Save Diagnostic Pack</source>
        <translation>保存诊断包</translation>
    </message>
    <message>
        <source>ZIP archives (*.zip)</source>
        <translation>ZIP 压缩包 (*.zip)</translation>
    </message>
    <message>
        <source>Writing %1...</source>
        <translation>正在写入 %1...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>The pack could not be written: %1</source>
        <translation>无法写入诊断包：%1</translation>
    </message>
    <message numerus="yes">
        <source>%n item(s) replaced by &quot;[redacted]&quot;.</source>
        <translation>
            <numerusform>%n 项已替换为“[redacted]”。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Cancelled: %1 holds the %n entry(ies) written so far.</source>
        <translation>
            <numerusform>已取消：%1 包含目前已写入的 %n 个条目。</numerusform>
        </translation>
    </message>
    <message>
        <source>Saved %1.</source>
        <translation>已保存 %1。</translation>
    </message>
</context>
<context>
    <name>DurationOption</name>
    <message>
        <source>Ends after this many seconds (fractions allowed); default: until interrupted.</source>
        <translation>在这么多秒后结束（可带小数）；默认：直到被中断。</translation>
    </message>
    <message>
        <source>--duration %1: give seconds, 0 or more.</source>
        <translation>--duration %1：请给出 0 或更大的秒数。</translation>
    </message>
</context>
<context>
    <name>ExportCommand</name>
    <message>
        <source>Writes a recording as text, CSV or JSON Lines.</source>
        <translation>将录制文件导出为文本、CSV 或 JSON Lines。</translation>
    </message>
    <message>
        <source>The recording.</source>
        <translation>录制文件。</translation>
    </message>
    <message>
        <source>text, csv or jsonl.</source>
        <translation>text、csv 或 jsonl。</translation>
    </message>
    <message>
        <source>Exports only this port of the recording.</source>
        <translation>只导出录制中的这个端口。</translation>
    </message>
    <message>
        <source>Writes to FILE instead of standard output.</source>
        <translation>写入 FILE，而不是标准输出。</translation>
    </message>
    <message>
        <source>Give --format text, csv or jsonl.</source>
        <translation>请给出 --format text、csv 或 jsonl。</translation>
    </message>
    <message>
        <source>Cannot write to standard output.</source>
        <translation>无法写入标准输出。</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>Could not read the recording again.</source>
        <translation>无法再次读取该录制文件。</translation>
    </message>
    <message>
        <source>Cannot write the export: %1</source>
        <translation>无法写入导出内容：%1</translation>
    </message>
    <message>
        <source>Could not read the recording: %1</source>
        <translation>无法读取录制文件：%1</translation>
    </message>
</context>
<context>
    <name>FileTransferBar</name>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Stopping...</source>
        <translation>正在停止...</translation>
    </message>
    <message numerus="yes">
        <source>%n retries</source>
        <translation>
            <numerusform>重试 %n 次</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>FileTransferDialog</name>
    <message>
        <source>Send File</source>
        <translation>发送文件</translation>
    </message>
    <message>
        <source>Receive File</source>
        <translation>接收文件</translation>
    </message>
    <message>
        <source>XMODEM (128 bytes, checksum)</source>
        <translation>XMODEM（128 字节，校验和）</translation>
    </message>
    <message>
        <source>XMODEM-CRC (128 bytes, CRC-16)</source>
        <translation>XMODEM-CRC（128 字节，CRC-16）</translation>
    </message>
    <message>
        <source>XMODEM-1K (1024 bytes)</source>
        <translation>XMODEM-1K（1024 字节）</translation>
    </message>
    <message>
        <source>YMODEM</source>
        <translation>YMODEM</translation>
    </message>
    <message>
        <source>YMODEM-G (streaming, no retries)</source>
        <translation>YMODEM-G（流式，不重传）</translation>
    </message>
    <message>
        <source>Protocol:</source>
        <translation>协议：</translation>
    </message>
    <message>
        <source>128</source>
        <translation>128</translation>
    </message>
    <message>
        <source>1024</source>
        <translation>1024</translation>
    </message>
    <message>
        <source>Block size:</source>
        <translation>块大小：</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>File:</source>
        <translation>文件：</translation>
    </message>
    <message>
        <source>Save into:</source>
        <translation>保存到：</translation>
    </message>
    <message>
        <source>no limit</source>
        <translation>不限</translation>
    </message>
    <message>
        <source>Save as:</source>
        <translation>另存为：</translation>
    </message>
    <message>
        <source>Stop after (MB):</source>
        <translation>上限 (MB)：</translation>
    </message>
    <message>
        <source>Client:</source>
        <translation>客户端：</translation>
    </message>
    <message>
        <source>Keep this window open afterwards</source>
        <translation>传输结束后保持此窗口打开</translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation>RTS/CTS</translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation>XON/XOFF</translation>
    </message>
    <message>
        <source>no flow control</source>
        <translation>无流控</translation>
    </message>
    <message>
        <source>%1 · %2 %3%4%5 · %6</source>
        <translation>%1 · %2 %3%4%5 · %6</translation>
    </message>
    <message>
        <source>TCP %1:%2</source>
        <translation>TCP %1:%2</translation>
    </message>
    <message>
        <source>TCP server, port %1</source>
        <translation>TCP 服务器，端口 %1</translation>
    </message>
    <message>
        <source>RFC 2217 %1:%2 · %3 %4%5%6</source>
        <translation>RFC 2217 %1:%2 · %3 %4%5%6</translation>
    </message>
    <message>
        <source>YMODEM-G does not resend anything, so it needs hardware flow control (RTS/CTS). This connection has none: a single error would abandon the whole transfer.</source>
        <translation>YMODEM-G 不会重传任何数据，因此需要硬件流控 (RTS/CTS)。此连接没有硬件流控：一个错误就会使整个传输作废。</translation>
    </message>
    <message>
        <source>XMODEM carries no file name or length. The device will receive the data padded up to a whole number of blocks.</source>
        <translation>XMODEM 不携带文件名和长度。设备收到的数据会被填充到整数个块。</translation>
    </message>
    <message>
        <source>XMODEM carries no file name or length, so you must supply the name, and the received file is always padded up to a whole number of blocks.</source>
        <translation>XMODEM 不携带文件名和长度，因此必须由您提供文件名，且收到的文件总会被填充到整数个块。</translation>
    </message>
    <message>
        <source>Choose a file to send.</source>
        <translation>请选择要发送的文件。</translation>
    </message>
    <message>
        <source>The folder %1 does not exist.</source>
        <translation>文件夹 %1 不存在。</translation>
    </message>
    <message>
        <source>Enter the name to save the file as.</source>
        <translation>请输入保存文件所用的名称。</translation>
    </message>
</context>
<context>
    <name>FileTransferSession</name>
    <message>
        <source>A file transfer is already running on this port.</source>
        <translation>此端口上已有文件传输正在进行。</translation>
    </message>
    <message>
        <source>Choose the file to send.</source>
        <translation>请选择要发送的文件。</translation>
    </message>
    <message>
        <source>Choose where to save the file.</source>
        <translation>请选择文件的保存位置。</translation>
    </message>
    <message>
        <source>The device cancelled the transfer.</source>
        <translation>设备取消了传输。</translation>
    </message>
    <message>
        <source>The device sent a malformed file header.</source>
        <translation>设备发送的文件头格式错误。</translation>
    </message>
    <message>
        <source>The connection was closed, so the transfer stopped. If this was a firmware update the device may be left with an incomplete image -- run the update again.</source>
        <translation>连接已关闭，传输已停止。如果这是固件升级，设备中可能留下不完整的镜像 -- 请重新执行升级。</translation>
    </message>
    <message>
        <source>The connection was lost, so the transfer stopped. If this was a firmware update the device may be left with an incomplete image -- run the update again.</source>
        <translation>连接已丢失，传输已停止。如果这是固件升级，设备中可能留下不完整的镜像 -- 请重新执行升级。</translation>
    </message>
    <message>
        <source>What arrived was kept as &quot;%1&quot;.</source>
        <translation>已收到的部分保存为“%1”。</translation>
    </message>
    <message>
        <source>The device ended the batch without sending a file.</source>
        <translation>设备未发送任何文件就结束了批量传输。</translation>
    </message>
    <message>
        <source>The device asked for the name &quot;%1&quot;; it was saved as &quot;%2&quot;.</source>
        <translation>设备请求的文件名为“%1”；已保存为“%2”。</translation>
    </message>
    <message>
        <source>A file of that name already existed, so this one was saved as &quot;%1&quot;.</source>
        <translation>同名文件已存在，因此本文件保存为“%1”。</translation>
    </message>
    <message>
        <source>Transfer complete: %1 bytes in %2 s, %3 KB/s, %4 retries</source>
        <translation>传输完成：%1 字节，用时 %2 秒，%3 KB/s，重试 %4 次</translation>
    </message>
    <message>
        <source>Transfer failed: %1</source>
        <translation>传输失败：%1</translation>
    </message>
    <message>
        <source> (%1% transferred)</source>
        <translation>（已传输 %1%）</translation>
    </message>
    <message>
        <source>Receiving with %1</source>
        <translation>正在用 %1 接收</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>Sending %1 (%2, %3 bytes)</source>
        <translation>正在发送 %1（%2，%3 字节）</translation>
    </message>
    <message>
        <source>Cancelled. The device may still have received up to one more block of data -- if this was a firmware update, run the whole update again.</source>
        <translation>已取消。设备可能还多收到了最多一个数据块 -- 如果这是固件升级，请重新执行整个升级。</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>已取消。</translation>
    </message>
    <message>
        <source>File transfer started: %1</source>
        <translation>文件传输开始：%1</translation>
    </message>
    <message>
        <source>File transfer finished: %1, %2 bytes</source>
        <translation>文件传输完成：%1，%2 字节</translation>
    </message>
    <message>
        <source>File transfer ended (%1): %2, %3 bytes</source>
        <translation>文件传输结束（%1）：%2，%3 字节</translation>
    </message>
</context>
<context>
    <name>FrameDecoder</name>
    <message>
        <source>1 unrecognized byte</source>
        <translation>1 个无法识别的字节</translation>
    </message>
    <message>
        <source>%1 unrecognized bytes</source>
        <translation>%1 个无法识别的字节</translation>
    </message>
</context>
<context>
    <name>FrameInterpreter</name>
    <message>
        <source>Checksum</source>
        <translation>校验</translation>
    </message>
    <message>
        <source>%1 (expected %2)</source>
        <translation>%1（应为 %2）</translation>
    </message>
    <message>
        <source>%1 OK</source>
        <translation>%1 正确</translation>
    </message>
    <message>
        <source>Delimiter</source>
        <translation>分隔符</translation>
    </message>
    <message>
        <source>Trailer</source>
        <translation>帧尾</translation>
    </message>
</context>
<context>
    <name>FrameTableModel</name>
    <message>
        <source>OK</source>
        <translation>正常</translation>
    </message>
    <message>
        <source>Exception</source>
        <translation>异常</translation>
    </message>
    <message>
        <source>Checksum error</source>
        <translation>校验错误</translation>
    </message>
    <message>
        <source>Malformed</source>
        <translation>格式错误</translation>
    </message>
    <message>
        <source>Incomplete</source>
        <translation>不完整</translation>
    </message>
    <message>
        <source>Unrecognized</source>
        <translation>无法识别</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Dir</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Peer</source>
        <translation>对端</translation>
    </message>
    <message>
        <source>Len</source>
        <translation>长度</translation>
    </message>
    <message>
        <source>Raw</source>
        <translation>原始数据</translation>
    </message>
    <message>
        <source>Summary</source>
        <translation>摘要</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
</context>
<context>
    <name>FrameTemplate</name>
    <message>
        <source>The template needs a name.</source>
        <translation>模板需要一个名称。</translation>
    </message>
    <message>
        <source>Header framing needs at least one header byte.</source>
        <translation>帧头分帧至少需要一个帧头字节。</translation>
    </message>
    <message>
        <source>The header can be at most %1 bytes.</source>
        <translation>帧头最多 %1 个字节。</translation>
    </message>
    <message>
        <source>The trailer can be at most %1 bytes.</source>
        <translation>帧尾最多 %1 个字节。</translation>
    </message>
    <message>
        <source>The maximum frame size must be between %1 and %2 bytes.</source>
        <translation>最大帧长必须在 %1 到 %2 字节之间。</translation>
    </message>
    <message>
        <source>The frame timeout must be between 5 and 10000 ms.</source>
        <translation>帧超时必须在 5 到 10000 ms 之间。</translation>
    </message>
    <message>
        <source>Delimiter framing needs a delimiter.</source>
        <translation>分隔符分帧需要一个分隔符。</translation>
    </message>
    <message>
        <source>The delimiter can be at most %1 bytes.</source>
        <translation>分隔符最多 %1 个字节。</translation>
    </message>
    <message>
        <source>The idle gap must be between 1 and 60000 ms.</source>
        <translation>空闲间隔必须在 1 到 60000 ms 之间。</translation>
    </message>
    <message>
        <source>The length field must be 1, 2 or 4 bytes wide.</source>
        <translation>长度字段必须为 1、2 或 4 个字节宽。</translation>
    </message>
    <message>
        <source>The length field lies beyond the maximum frame size.</source>
        <translation>长度字段超出了最大帧长。</translation>
    </message>
    <message>
        <source>The length adjustment must be between -64 and 64.</source>
        <translation>长度修正值必须在 -64 到 64 之间。</translation>
    </message>
    <message>
        <source>The fixed length is shorter than the header, checksum and trailer together.</source>
        <translation>固定长度小于帧头、校验和帧尾的总长度。</translation>
    </message>
    <message>
        <source>The fixed length exceeds the maximum frame size.</source>
        <translation>固定长度超过了最大帧长。</translation>
    </message>
    <message>
        <source>The checksum cannot start before the frame.</source>
        <translation>校验不能从帧之前开始。</translation>
    </message>
    <message>
        <source>A custom CRC must be 1 to 64 bits wide.</source>
        <translation>自定义 CRC 的位宽必须为 1 到 64 位。</translation>
    </message>
    <message>
        <source>A template can have at most %1 fields.</source>
        <translation>一个模板最多可有 %1 个字段。</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>Field &quot;%1&quot; starts outside the frame.</source>
        <translation>字段“%1”的起始位置在帧外。</translation>
    </message>
    <message>
        <source>Field &quot;%1&quot; has a negative length.</source>
        <translation>字段“%1”的长度为负数。</translation>
    </message>
    <message>
        <source>Bit field &quot;%1&quot; needs a 1, 2 or 4 byte container.</source>
        <translation>位字段“%1”需要 1、2 或 4 字节的容器。</translation>
    </message>
    <message>
        <source>Bit field &quot;%1&quot; does not fit its container.</source>
        <translation>位字段“%1”超出了其容器。</translation>
    </message>
    <message>
        <source>Field &quot;%1&quot; has an invalid condition.</source>
        <translation>字段“%1”的条件无效。</translation>
    </message>
    <message>
        <source>Field &quot;%1&quot; can show 0 to 15 decimals.</source>
        <translation>字段“%1”只能显示 0 到 15 位小数。</translation>
    </message>
</context>
<context>
    <name>FrameTemplateCodec</name>
    <message>
        <source>The project file %1 does not exist.</source>
        <translation>工程文件 %1 不存在。</translation>
    </message>
    <message>
        <source>The project file %1 could not be read.</source>
        <translation>无法读取工程文件 %1。</translation>
    </message>
    <message>
        <source>It has no frame templates.</source>
        <translation>其中没有帧模板。</translation>
    </message>
    <message>
        <source>Its frame templates: %1.</source>
        <translation>其中的帧模板：%1。</translation>
    </message>
    <message>
        <source>There is no frame template called &quot;%1&quot; in %2. %3</source>
        <translation>%2 中没有名为“%1”的帧模板。%3</translation>
    </message>
    <message>
        <source>The frame template &quot;%1&quot; cannot decode: %2</source>
        <translation>帧模板“%1”无法解码：%2</translation>
    </message>
</context>
<context>
    <name>FrameTemplateDialog</name>
    <message>
        <source>Frame Templates</source>
        <translation>帧模板</translation>
    </message>
    <message>
        <source>Add a template</source>
        <translation>添加模板</translation>
    </message>
    <message>
        <source>Duplicate the template</source>
        <translation>复制模板</translation>
    </message>
    <message>
        <source>Remove the template</source>
        <translation>删除模板</translation>
    </message>
    <message>
        <source>Move up</source>
        <translation>上移</translation>
    </message>
    <message>
        <source>Move down</source>
        <translation>下移</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Framing</source>
        <translation>分帧</translation>
    </message>
    <message>
        <source>Mode</source>
        <translation>方式</translation>
    </message>
    <message>
        <source>AA 55</source>
        <translation>AA 55</translation>
    </message>
    <message>
        <source>Header (hex)</source>
        <translation>帧头（十六进制）</translation>
    </message>
    <message>
        <source>width</source>
        <translation>宽度</translation>
    </message>
    <message>
        <source>Length at byte</source>
        <translation>长度位于字节</translation>
    </message>
    <message>
        <source>counts</source>
        <translation>计数范围</translation>
    </message>
    <message>
        <source>Added to the length field, for protocols that count one more or one less</source>
        <translation>加到长度字段上，用于多计或少计一个的协议</translation>
    </message>
    <message>
        <source>adjust</source>
        <translation>修正</translation>
    </message>
    <message>
        <source> bytes</source>
        <translation> 字节</translation>
    </message>
    <message>
        <source>Frame length</source>
        <translation>帧长</translation>
    </message>
    <message>
        <source>0D 0A</source>
        <translation>0D 0A</translation>
    </message>
    <message>
        <source>Delimiter (hex)</source>
        <translation>分隔符（十六进制）</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>Idle gap</source>
        <translation>空闲间隔</translation>
    </message>
    <message>
        <source>Trailer (hex)</source>
        <translation>帧尾（十六进制）</translation>
    </message>
    <message>
        <source>Largest frame</source>
        <translation>最大帧长</translation>
    </message>
    <message>
        <source>A frame still incomplete after this much silence is shown as Incomplete</source>
        <translation>静默这么久后仍未收完的帧显示为“不完整”</translation>
    </message>
    <message>
        <source>Frame timeout</source>
        <translation>帧超时</translation>
    </message>
    <message>
        <source>Checksum</source>
        <translation>校验</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>SUM8</source>
        <translation>SUM8</translation>
    </message>
    <message>
        <source>XOR8</source>
        <translation>XOR8</translation>
    </message>
    <message>
        <source>SUM16</source>
        <translation>SUM16</translation>
    </message>
    <message>
        <source>Custom CRC</source>
        <translation>自定义 CRC</translation>
    </message>
    <message>
        <source> bits</source>
        <translation> 位</translation>
    </message>
    <message>
        <source>Width</source>
        <translation>位宽</translation>
    </message>
    <message>
        <source>Poly</source>
        <translation>多项式</translation>
    </message>
    <message>
        <source>Init</source>
        <translation>初始值</translation>
    </message>
    <message>
        <source>XorOut</source>
        <translation>结果异或值</translation>
    </message>
    <message>
        <source>Reflect in</source>
        <translation>输入反转</translation>
    </message>
    <message>
        <source>Reflect out</source>
        <translation>输出反转</translation>
    </message>
    <message>
        <source>over bytes from</source>
        <translation>计算起始字节</translation>
    </message>
    <message>
        <source>to the checksum, stored</source>
        <translation>至校验之前，存储字节序</translation>
    </message>
    <message>
        <source>Fields</source>
        <translation>字段</translation>
    </message>
    <message>
        <source>Offset</source>
        <translation>偏移</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>类型</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>长度</translation>
    </message>
    <message>
        <source>Bits</source>
        <translation>位</translation>
    </message>
    <message>
        <source>Byte order</source>
        <translation>字节序</translation>
    </message>
    <message>
        <source>Scale</source>
        <translation>系数</translation>
    </message>
    <message>
        <source>Add</source>
        <translation>加数</translation>
    </message>
    <message>
        <source>Decimals</source>
        <translation>小数位</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>单位</translation>
    </message>
    <message>
        <source>Labels</source>
        <translation>标签</translation>
    </message>
    <message>
        <source>When</source>
        <translation>条件</translation>
    </message>
    <message>
        <source>Bits fields: &quot;5..7&quot; for bits 5 to 7, bit 0 the lowest</source>
        <translation>位字段：“5..7”表示第 5 到 7 位，第 0 位为最低位</translation>
    </message>
    <message>
        <source>Names for values, &quot;0=Off;1=On&quot;</source>
        <translation>数值的名称，如“0=Off;1=On”</translation>
    </message>
    <message>
        <source>Only when a byte has a value: &quot;3=01&quot; means byte 3 is 0x01. Empty for always</source>
        <translation>仅当某字节为某值时显示：“3=01”表示第 3 字节为 0x01。留空则总是显示</translation>
    </message>
    <message>
        <source>Add a field</source>
        <translation>添加字段</translation>
    </message>
    <message>
        <source>Remove the field</source>
        <translation>删除字段</translation>
    </message>
    <message>
        <source>Test</source>
        <translation>测试</translation>
    </message>
    <message>
        <source>Paste received bytes in hex, e.g. AA 55 07 01 01 02 41 20 00 00 6C</source>
        <translation>粘贴收到的十六进制字节，例如 AA 55 07 01 01 02 41 20 00 00 6C</translation>
    </message>
    <message>
        <source>Decode</source>
        <translation>解码</translation>
    </message>
    <message>
        <source>Field</source>
        <translation>字段</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>值</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>Template</source>
        <translation>模板</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1：%2</translation>
    </message>
    <message>
        <source>Another template is already called &quot;%1&quot;.</source>
        <translation>已有另一个模板名为“%1”。</translation>
    </message>
    <message>
        <source>Add a template first.</source>
        <translation>请先添加一个模板。</translation>
    </message>
    <message>
        <source>Header</source>
        <translation>帧头</translation>
    </message>
    <message>
        <source>Delimiter</source>
        <translation>分隔符</translation>
    </message>
    <message>
        <source>Trailer</source>
        <translation>帧尾</translation>
    </message>
    <message>
        <source>%1: not a hex number</source>
        <translation>%1：不是十六进制数</translation>
    </message>
    <message>
        <source>Field %1: the offset is not a number</source>
        <translation>字段 %1：偏移不是数字</translation>
    </message>
    <message>
        <source>Field %1: the length is not a number</source>
        <translation>字段 %1：长度不是数字</translation>
    </message>
    <message>
        <source>Field %1: bits are written &quot;5..7&quot;</source>
        <translation>字段 %1：位的写法为“5..7”</translation>
    </message>
    <message>
        <source>Field %1: scale and add are numbers</source>
        <translation>字段 %1：系数和加数须为数字</translation>
    </message>
    <message>
        <source>Field %1: decimals is a number</source>
        <translation>字段 %1：小数位须为数字</translation>
    </message>
    <message>
        <source>Field %1: When is written &quot;3=01&quot; (byte 3 is 0x01)</source>
        <translation>字段 %1：条件的写法为“3=01”（第 3 字节为 0x01）</translation>
    </message>
    <message>
        <source>Paste some bytes to decode.</source>
        <translation>请粘贴要解码的字节。</translation>
    </message>
    <message>
        <source>The template is not complete: %1</source>
        <translation>模板尚不完整：%1</translation>
    </message>
</context>
<context>
    <name>FrameTemplateText</name>
    <message>
        <source>Big (AB CD)</source>
        <translation>大端 (AB CD)</translation>
    </message>
    <message>
        <source>Little (DC BA)</source>
        <translation>小端 (DC BA)</translation>
    </message>
    <message>
        <source>Word swap (CD AB)</source>
        <translation>字交换 (CD AB)</translation>
    </message>
    <message>
        <source>Byte swap (BA DC)</source>
        <translation>字节交换 (BA DC)</translation>
    </message>
    <message>
        <source>Header + length</source>
        <translation>帧头 + 长度</translation>
    </message>
    <message>
        <source>Header + fixed length</source>
        <translation>帧头 + 固定长度</translation>
    </message>
    <message>
        <source>Delimiter</source>
        <translation>分隔符</translation>
    </message>
    <message>
        <source>Idle gap</source>
        <translation>空闲间隔</translation>
    </message>
    <message>
        <source>the whole frame</source>
        <translation>整个帧</translation>
    </message>
    <message>
        <source>the bytes after it</source>
        <translation>其后的字节</translation>
    </message>
    <message>
        <source>the bytes after it, up to the checksum</source>
        <translation>其后至校验之前的字节</translation>
    </message>
    <message>
        <source>Only hex digits (0-9, A-F) are allowed.</source>
        <translation>只允许十六进制数字（0-9、A-F）。</translation>
    </message>
    <message>
        <source>Hex bytes need two digits each.</source>
        <translation>每个十六进制字节需要两位数字。</translation>
    </message>
    <message>
        <source>Template</source>
        <translation>模板</translation>
    </message>
</context>
<context>
    <name>FramesPanel</name>
    <message>
        <source>Decoder:</source>
        <translation>解码器：</translation>
    </message>
    <message>
        <source>Templates...</source>
        <translation>模板...</translation>
    </message>
    <message>
        <source>Describe your own protocol&apos;s frames and fields</source>
        <translation>描述自定义协议的帧和字段</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清空</translation>
    </message>
    <message>
        <source>Empty the frame table</source>
        <translation>清空帧列表</translation>
    </message>
    <message>
        <source>Export Frames (CSV)...</source>
        <translation>导出帧 (CSV)...</translation>
    </message>
    <message>
        <source>Export Fields (CSV)...</source>
        <translation>导出字段 (CSV)...</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>导出</translation>
    </message>
    <message>
        <source>Auto-scroll</source>
        <translation>自动滚动</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Checksum error</source>
        <translation>校验错误</translation>
    </message>
    <message>
        <source>Field</source>
        <translation>字段</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>值</translation>
    </message>
    <message>
        <source>Raw</source>
        <translation>原始数据</translation>
    </message>
    <message>
        <source>Offset</source>
        <translation>偏移</translation>
    </message>
    <message>
        <source>Go to Paired Frame</source>
        <translation>转到配对帧</translation>
    </message>
    <message>
        <source>Find Bytes in Receive View</source>
        <translation>在接收区中查找这些字节</translation>
    </message>
    <message>
        <source>Copy Hex</source>
        <translation>复制十六进制</translation>
    </message>
    <message>
        <source>Copy Selected Rows</source>
        <translation>复制所选行</translation>
    </message>
    <message>
        <source>Jump to the last place these bytes appear in the receive view</source>
        <translation>跳转到这些字节在接收区中最后出现的位置</translation>
    </message>
    <message>
        <source>Switch the receive view to Hex to find frames in it</source>
        <translation>请将接收区切换为十六进制显示后再查找帧</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>%1 (missing)</source>
        <translation>%1（缺失）</translation>
    </message>
    <message>
        <source>The frame template &quot;%1&quot; no longer exists. Choose another decoder.</source>
        <translation>帧模板“%1”已不存在。请选择其他解码器。</translation>
    </message>
    <message>
        <source>The frame template &quot;%1&quot; cannot decode: %2 Fix it in Frame Templates.</source>
        <translation>帧模板“%1”无法解码：%2 请在帧模板中修正。</translation>
    </message>
    <message>
        <source>Choose a decoder to start</source>
        <translation>选择解码器以开始</translation>
    </message>
    <message>
        <source>Decoder changed; frames cleared</source>
        <translation>解码器已更改，帧已清空</translation>
    </message>
    <message numerus="yes">
        <source>%n frame(s)</source>
        <translation>
            <numerusform>%n 帧</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 (%2 older dropped)</source>
        <translation>%1（已丢弃 %2 条较早的帧）</translation>
    </message>
    <message>
        <source>#%1 · %2 ms</source>
        <translation>#%1 · %2 毫秒</translation>
    </message>
    <message>
        <source>#%1</source>
        <translation>#%1</translation>
    </message>
    <message>
        <source>Paired with</source>
        <translation>配对帧</translation>
    </message>
    <message>
        <source>There are no frames to export.</source>
        <translation>没有可导出的帧。</translation>
    </message>
    <message>
        <source>Export Fields</source>
        <translation>导出字段</translation>
    </message>
    <message>
        <source>Export Frames</source>
        <translation>导出帧</translation>
    </message>
    <message>
        <source>CSV files (*.csv);;All files (*)</source>
        <translation>CSV 文件 (*.csv);;所有文件 (*)</translation>
    </message>
    <message>
        <source>%1 could not be written: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
</context>
<context>
    <name>GoToTimeDialog</name>
    <message>
        <source>Go to Time</source>
        <translation>转到时间</translation>
    </message>
    <message>
        <source>Time:</source>
        <translation>时间：</translation>
    </message>
</context>
<context>
    <name>GuestShareDialog</name>
    <message>
        <source>Share Port with a Guest</source>
        <translation>与访客共享端口</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>1 hour</source>
        <translation>1 小时</translation>
    </message>
    <message>
        <source>4 hours</source>
        <translation>4 小时</translation>
    </message>
    <message>
        <source>12 hours</source>
        <translation>12 小时</translation>
    </message>
    <message>
        <source>24 hours</source>
        <translation>24 小时</translation>
    </message>
    <message>
        <source>Valid for</source>
        <translation>有效期</translation>
    </message>
    <message>
        <source>Optional, 4–16 characters</source>
        <translation>可选，4–16 个字符</translation>
    </message>
    <message>
        <source>Passcode</source>
        <translation>访问密码</translation>
    </message>
    <message>
        <source>Label</source>
        <translation>标签</translation>
    </message>
    <message>
        <source>What the guest sees</source>
        <translation>访客可见内容</translation>
    </message>
    <message>
        <source>Not allowed</source>
        <translation>不允许</translation>
    </message>
    <message>
        <source>View only</source>
        <translation>仅查看</translation>
    </message>
    <message>
        <source>View and send</source>
        <translation>查看和发送</translation>
    </message>
    <message>
        <source>View, send and port control</source>
        <translation>查看、发送和端口控制</translation>
    </message>
    <message>
        <source>In a browser</source>
        <translation>在浏览器中</translation>
    </message>
    <message>
        <source>Also as a real serial port in Velmora (Live Relay)</source>
        <translation>同时作为 Velmora 中的真实串口（Live Relay）</translation>
    </message>
    <message>
        <source>A browser guest sees decoded text that passes through the cloud; a relay moves raw bytes the cloud never reads.</source>
        <translation>浏览器访客看到的是经过云端的解码文本；中继传送的是云端从不读取的原始字节。</translation>
    </message>
    <message>
        <source>Create Invite</source>
        <translation>创建邀请</translation>
    </message>
    <message>
        <source>Copy Code</source>
        <translation>复制邀请码</translation>
    </message>
    <message>
        <source>Copy Link</source>
        <translation>复制链接</translation>
    </message>
    <message>
        <source>Disconnect Guest</source>
        <translation>断开访客</translation>
    </message>
    <message>
        <source>Stop Sharing</source>
        <translation>停止共享</translation>
    </message>
    <message>
        <source>Share Again</source>
        <translation>再次共享</translation>
    </message>
    <message>
        <source>Other shares on this computer</source>
        <translation>本计算机上的其他共享</translation>
    </message>
    <message>
        <source>Code copied.</source>
        <translation>邀请码已复制。</translation>
    </message>
    <message>
        <source>Link copied.</source>
        <translation>链接已复制。</translation>
    </message>
    <message>
        <source>Disconnected by the owner.</source>
        <translation>已被所有者断开。</translation>
    </message>
    <message>
        <source>You stopped sharing.</source>
        <translation>您已停止共享。</translation>
    </message>
    <message>
        <source>Could not create the invite: %1</source>
        <translation>无法创建邀请：%1</translation>
    </message>
    <message>
        <source>Allow at least one way in: the browser, Velmora, or both.</source>
        <translation>请至少允许一种进入方式：浏览器、Velmora 或两者。</translation>
    </message>
    <message>
        <source>A passcode is 4–16 characters.</source>
        <translation>访问密码为 4–16 个字符。</translation>
    </message>
    <message>
        <source>Creating the invite…</source>
        <translation>正在创建邀请…</translation>
    </message>
    <message>
        <source>Passcode: %1</source>
        <translation>访问密码：%1</translation>
    </message>
    <message>
        <source>browser: view only</source>
        <translation>浏览器：仅查看</translation>
    </message>
    <message>
        <source>browser: view and send</source>
        <translation>浏览器：查看和发送</translation>
    </message>
    <message>
        <source>browser: view, send and port control</source>
        <translation>浏览器：查看、发送和端口控制</translation>
    </message>
    <message>
        <source>Velmora: real serial port</source>
        <translation>Velmora：真实串口</translation>
    </message>
    <message>
        <source>Opens in %1</source>
        <translation>可通过 %1 打开</translation>
    </message>
    <message>
        <source>Sharing ended: %1</source>
        <translation>共享已结束：%1</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 小时 %2 分钟</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 分钟</translation>
    </message>
    <message>
        <source>Expired — the share admits no new guests.</source>
        <translation>已过期 — 该共享不再接受新访客。</translation>
    </message>
    <message>
        <source>Expires at %1 (in %2)</source>
        <translation>于 %1 过期（还有 %2）</translation>
    </message>
    <message>
        <source>%1 connected since %2</source>
        <translation>%1 自 %2 起已连接</translation>
    </message>
    <message>
        <source>Watching in a browser: %1</source>
        <translation>在浏览器中查看：%1</translation>
    </message>
    <message>
        <source>Waiting for a guest…</source>
        <translation>正在等待访客…</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>等待中</translation>
    </message>
    <message>
        <source>%1 · %2 · %3</source>
        <translation>%1 · %2 · %3</translation>
    </message>
</context>
<context>
    <name>HostCommand</name>
    <message>
        <source>Offers ports to Live Console and Live Relay through the cloud until stopped.</source>
        <translation>通过云将端口提供给 Live Console 和 Live Relay，直到停止。</translation>
    </message>
    <message>
        <source>The connections to offer.</source>
        <translation>要提供的连接。</translation>
    </message>
    <message>
        <source>The name this computer has in the account (default: its host name).</source>
        <translation>本机在账户中的名称（默认：主机名）。</translation>
    </message>
    <message>
        <source>A browser may send data to the ports.</source>
        <translation>浏览器可以向端口发送数据。</translation>
    </message>
    <message>
        <source>A browser may open, close and configure the ports.</source>
        <translation>浏览器可以打开、关闭和配置端口。</translation>
    </message>
    <message>
        <source>Another computer may use the ports through Live Relay.</source>
        <translation>其他计算机可以通过 Live Relay 使用端口。</translation>
    </message>
    <message>
        <source>One JSON object per event.</source>
        <translation>每个事件一个 JSON 对象。</translation>
    </message>
    <message>
        <source>Name at least one port to offer.</source>
        <translation>请至少指定一个要提供的端口。</translation>
    </message>
    <message>
        <source>At most 16 ports can be offered.</source>
        <translation>最多只能提供 16 个端口。</translation>
    </message>
    <message>
        <source>%1: a relay port cannot be offered again.</source>
        <translation>%1：中继端口不能再次提供。</translation>
    </message>
    <message>
        <source>Could not open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
    <message>
        <source>%1 %2: done</source>
        <translation>%1 %2：完成</translation>
    </message>
    <message>
        <source>%1 %2: refused (%3) %4</source>
        <translation>%1 %2：被拒绝（%3）%4</translation>
    </message>
    <message>
        <source>%1: Live Relay with %2</source>
        <translation>%1：与 %2 的 Live Relay</translation>
    </message>
    <message>
        <source>%1: Live Relay ended: %2</source>
        <translation>%1：Live Relay 已结束：%2</translation>
    </message>
    <message>
        <source>Hosting %1 as %2; stop with Ctrl+C.</source>
        <translation>正在以 %2 的身份提供 %1；按 Ctrl+C 停止。</translation>
    </message>
    <message>
        <source>Invites a guest to this port (its key, such as ser-0) and prints the invite code and link.</source>
        <translation>邀请访客使用此端口（端口键，如 ser-0），并输出邀请码和链接。</translation>
    </message>
    <message>
        <source>What the guest may do: view, send or control in a browser, or relay to use the port from another Velmora (default view).</source>
        <translation>访客可执行的操作：在浏览器中 view（查看）、send（发送）或 control（控制），或 relay（从另一个 Velmora 使用该端口）（默认 view）。</translation>
    </message>
    <message>
        <source>How long the invite lasts, in seconds: 3600, 14400, 43200 or 86400 (default 3600).</source>
        <translation>邀请的有效时长（秒）：3600、14400、43200 或 86400（默认 3600）。</translation>
    </message>
    <message>
        <source>A passcode of 4 to 16 characters the guest must give.</source>
        <translation>访客必须提供的 4 到 16 个字符的访问密码。</translation>
    </message>
    <message>
        <source>--level is view, send, control or relay, not &quot;%1&quot;.</source>
        <translation>--level 应为 view、send、control 或 relay，而不是“%1”。</translation>
    </message>
    <message>
        <source>--ttl is 3600, 14400, 43200 or 86400 seconds (1, 4, 12 or 24 hours), not &quot;%1&quot;.</source>
        <translation>--ttl 应为 3600、14400、43200 或 86400 秒（1、4、12 或 24 小时），而不是“%1”。</translation>
    </message>
    <message>
        <source>A passcode is 4–16 characters.</source>
        <translation>访问密码为 4–16 个字符。</translation>
    </message>
    <message>
        <source>--share %1 names none of the offered ports (%2).</source>
        <translation>--share %1 不是所提供的端口之一（%2）。</translation>
    </message>
    <message>
        <source>Invite code %1 · %2</source>
        <translation>邀请码 %1 · %2</translation>
    </message>
    <message>
        <source>Passcode: %1</source>
        <translation>访问密码：%1</translation>
    </message>
    <message>
        <source>Could not create the invite: %1</source>
        <translation>无法创建邀请：%1</translation>
    </message>
    <message>
        <source>Sharing ended: %1</source>
        <translation>共享已结束：%1</translation>
    </message>
    <message>
        <source>The application is closing.</source>
        <translation>应用程序正在关闭。</translation>
    </message>
</context>
<context>
    <name>InfoCommand</name>
    <message>
        <source>Tells what a recording holds and how long indexing it took.</source>
        <translation>显示录制文件的内容概况以及建立索引所用的时间。</translation>
    </message>
    <message>
        <source>The recording.</source>
        <translation>录制文件。</translation>
    </message>
    <message>
        <source>File: %1 (%2 bytes)</source>
        <translation>文件：%1（%2 字节）</translation>
    </message>
    <message>
        <source>Part: %1</source>
        <translation>分段：%1</translation>
    </message>
    <message>
        <source>Previous part: %1</source>
        <translation>上一分段：%1</translation>
    </message>
    <message>
        <source>Next part: %1</source>
        <translation>下一分段：%1</translation>
    </message>
    <message>
        <source>Ports: %1</source>
        <translation>端口：%1</translation>
    </message>
    <message>
        <source>  %1  %2  %3  (%4 events)</source>
        <translation>  %1  %2  %3  （%4 个事件）</translation>
    </message>
    <message>
        <source>Events: %1</source>
        <translation>事件：%1</translation>
    </message>
    <message>
        <source>Bytes: %1</source>
        <translation>字节：%1</translation>
    </message>
    <message>
        <source>First: %1</source>
        <translation>最早：%1</translation>
    </message>
    <message>
        <source>Last: %1</source>
        <translation>最晚：%1</translation>
    </message>
    <message>
        <source>Torn tail: yes, the last line is cut</source>
        <translation>末尾截断：是，最后一行不完整</translation>
    </message>
    <message>
        <source>Torn tail: no</source>
        <translation>末尾截断：否</translation>
    </message>
    <message>
        <source>Ended: %1</source>
        <translation>结束原因：%1</translation>
    </message>
    <message>
        <source>Unreadable lines: %1</source>
        <translation>无法读取的行：%1</translation>
    </message>
    <message>
        <source>Indexed in %1 ms</source>
        <translation>索引用时 %1 毫秒</translation>
    </message>
</context>
<context>
    <name>LiveSyncStatus</name>
    <message>
        <source>Not listening</source>
        <translation>未监听</translation>
    </message>
    <message>
        <source>Shared ×%1</source>
        <translation>共享 ×%1</translation>
    </message>
    <message>
        <source>Shared</source>
        <translation>已共享</translation>
    </message>
    <message>
        <source>In use ×%1</source>
        <translation>使用中 ×%1</translation>
    </message>
    <message>
        <source>In use</source>
        <translation>使用中</translation>
    </message>
    <message>
        <source>Live Sync</source>
        <translation>Live Sync</translation>
    </message>
</context>
<context>
    <name>LogWriter</name>
    <message>
        <source>Please input correct log file name!</source>
        <translation>请输入正确的日志文件名！</translation>
    </message>
    <message>
        <source>Could not rotate log file &apos;%1&apos;: %2</source>
        <translation>无法轮转日志文件 &apos;%1&apos;：%2</translation>
    </message>
    <message>
        <source>every archive name is taken</source>
        <translation>所有归档文件名均已被占用</translation>
    </message>
    <message>
        <source>Log path is a directory, not a file: %1</source>
        <translation>日志路径是目录而不是文件：%1</translation>
    </message>
    <message>
        <source>Could not create log directory &apos;%1&apos;</source>
        <translation>无法创建日志目录 &apos;%1&apos;</translation>
    </message>
    <message>
        <source>Could not open log file &apos;%1&apos;: %2</source>
        <translation>无法打开日志文件 &apos;%1&apos;：%2</translation>
    </message>
    <message>
        <source>Could not write log file &apos;%1&apos;: %2</source>
        <translation>无法写入日志文件 &apos;%1&apos;：%2</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Velmora</source>
        <translation>Velmora</translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN FAILED</source>
        <translation>串口 %1 打开失败</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>文件(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;New</source>
        <translation>新建(&amp;N)</translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation>打开(&amp;O)...</translation>
    </message>
    <message>
        <source>Recent Files</source>
        <translation>最近文件</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>保存(&amp;S)</translation>
    </message>
    <message>
        <source>Save &amp;As...</source>
        <translation>另存为(&amp;A)...</translation>
    </message>
    <message>
        <source>Reconnect Automatically</source>
        <translation>自动重连</translation>
    </message>
    <message>
        <source>Open Last Connection at Start</source>
        <translation>启动时打开上次的连接</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>退出(&amp;X)</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>编辑(&amp;E)</translation>
    </message>
    <message>
        <source>Add Connection</source>
        <translation>添加连接</translation>
    </message>
    <message>
        <source>Remove Last Connection</source>
        <translation>移除最后一个连接</translation>
    </message>
    <message>
        <source>Settings...</source>
        <translation>设置...</translation>
    </message>
    <message>
        <source>New Connection...</source>
        <translation>新建连接...</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>视图(&amp;V)</translation>
    </message>
    <message>
        <source>Quick Settings</source>
        <translation>快捷设置</translation>
    </message>
    <message>
        <source>Quick Settings Fields...</source>
        <translation>快捷设置字段...</translation>
    </message>
    <message>
        <source>Appearance</source>
        <translation>外观</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>浅色</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>深色</translation>
    </message>
    <message>
        <source>&amp;Tools</source>
        <translation>工具(&amp;T)</translation>
    </message>
    <message>
        <source>CRC/Converter...</source>
        <translation>CRC/转换工具...</translation>
    </message>
    <message>
        <source>ASCII Code Chart...</source>
        <translation>ASCII 码表...</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>连接</translation>
    </message>
    <message>
        <source>Set Port Number Per Column</source>
        <translation>设置每列端口数</translation>
    </message>
    <message>
        <source>Port Number Per Column:</source>
        <translation>每列端口数：</translation>
    </message>
    <message>
        <source>A window holds at most %1 connections.</source>
        <translation>一个窗口最多容纳 %1 个连接。</translation>
    </message>
    <message>
        <source>Port Number = %1</source>
        <translation>端口数 = %1</translation>
    </message>
    <message>
        <source>Saving...</source>
        <translation>正在保存...</translation>
    </message>
    <message>
        <source>Could not open %1</source>
        <translation>无法打开 %1</translation>
    </message>
    <message>
        <source>Saving FAILED</source>
        <translation>保存失败</translation>
    </message>
    <message>
        <source>File saved</source>
        <translation>文件已保存</translation>
    </message>
    <message>
        <source>Save Velmora</source>
        <translation>保存 Velmora 项目</translation>
    </message>
    <message>
        <source>Velmora files (*.vlm)</source>
        <translation>Velmora 文件 (*.vlm)</translation>
    </message>
    <message>
        <source>Open Velmora</source>
        <translation>打开 Velmora 项目</translation>
    </message>
    <message>
        <source>Rx: %L1 Bytes</source>
        <translation>接收：%L1 字节</translation>
    </message>
    <message>
        <source>Tx: %L1 Bytes</source>
        <translation>发送：%L1 字节</translation>
    </message>
    <message>
        <source>Live Sync — nothing shared right now</source>
        <translation>Live Sync — 当前未共享任何端口</translation>
    </message>
    <message>
        <source>Click to share this machine&apos;s ports</source>
        <translation>单击以共享本机的端口</translation>
    </message>
    <message>
        <source>Live Sync — %1</source>
        <translation>Live Sync — %1</translation>
    </message>
    <message>
        <source>Live Sync</source>
        <translation>Live Sync</translation>
    </message>
    <message>
        <source>Not listening</source>
        <translation>未监听</translation>
    </message>
    <message>
        <source>Shared ×%1</source>
        <translation>共享 ×%1</translation>
    </message>
    <message>
        <source>In use ×%1</source>
        <translation>使用中 ×%1</translation>
    </message>
    <message>
        <source>RFC 2217 Server...</source>
        <translation>RFC 2217 服务器...</translation>
    </message>
    <message>
        <source>Live Share...</source>
        <translation>Live Share...</translation>
    </message>
    <message>
        <source>Not signed in</source>
        <translation>未登录</translation>
    </message>
    <message>
        <source>Click for recent messages</source>
        <translation>单击查看最近消息</translation>
    </message>
    <message>
        <source>Recent messages</source>
        <translation>最近消息</translation>
    </message>
    <message>
        <source>No messages yet</source>
        <translation>暂无消息</translation>
    </message>
    <message>
        <source>Clear Message History</source>
        <translation>清除消息记录</translation>
    </message>
    <message>
        <source>Commands</source>
        <translation>命令</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>运行中</translation>
    </message>
    <message>
        <source>Import Commands</source>
        <translation>导入命令</translation>
    </message>
    <message>
        <source>Export Commands</source>
        <translation>导出命令</translation>
    </message>
    <message>
        <source>Commands exported to %1</source>
        <translation>命令已导出到 %1</translation>
    </message>
    <message>
        <source>Auto Reply...</source>
        <translation>自动应答...</translation>
    </message>
    <message>
        <source>Command Library...</source>
        <translation>命令库...</translation>
    </message>
    <message>
        <source>Export Sequence Report...</source>
        <translation>导出序列报告...</translation>
    </message>
    <message>
        <source>there is no command of that name in the command library</source>
        <translation>命令库中没有这个名称的命令</translation>
    </message>
    <message>
        <source>Scripts...</source>
        <translation>脚本...</translation>
    </message>
    <message>
        <source>Commands and Sequences</source>
        <translation>命令与序列</translation>
    </message>
    <message>
        <source>A command is a message kept under a name. Its button, or its shortcut anywhere in the window, sends it on the focused port, shown in the view when Display Send is on. In text, \r \n \t and \xHH stand for the bytes they name; a hex command lists its bytes, as in 01 03 00 00 00 01. A command&apos;s own line ending and checksum, when it has them, replace the port&apos;s.</source>
        <translation>命令是以名称保存的一条消息。单击它的按钮，或在窗口任意位置按下它的快捷键，即可在当前焦点端口上发送；开启“显示发送”时会显示在视图中。文本命令中，\r \n \t 和 \xHH 表示对应的字节；十六进制命令直接列出字节，例如 01 03 00 00 00 01。命令若设置了自己的行尾和校验，将取代端口的设置。</translation>
    </message>
    <message>
        <source>A sequence runs its steps in order on the focused port: send a command, wait, expect a reply within a time, repeat from a label. Its bar above the port shows how it runs, and Tools &gt; Export Sequence Report... keeps the result.

Edit Library... changes both; More &gt; Export... saves them as a .vlmcmd file for a colleague, who adds them with More &gt; Import....</source>
        <translation>序列在当前焦点端口上依次执行各步骤：发送命令、等待、在限定时间内期待应答、从标签处重复。端口上方的序列栏显示执行情况，“工具 &gt; 导出序列报告...”可保存结果。

“编辑命令库...”可修改命令和序列；“更多 &gt; 导出...”将它们保存为 .vlmcmd 文件交给同事，同事用“更多 &gt; 导入...”即可添加。</translation>
    </message>
    <message>
        <source>Reopen Connection</source>
        <translation>重新打开连接</translation>
    </message>
    <message>
        <source>%1 is open. Its new connection settings take effect when it opens again.

Reopen it now?</source>
        <translation>%1 已打开。新的连接设置将在下次打开时生效。

现在重新打开吗？</translation>
    </message>
    <message>
        <source>%1: the line settings were not changed: %2</source>
        <translation>%1：线路参数未更改：%2</translation>
    </message>
    <message>
        <source>The focused port does not log to a file.</source>
        <translation>当前焦点端口未记录日志文件。</translation>
    </message>
    <message>
        <source>%1 is not a Velmora project file.</source>
        <translation>%1 不是 Velmora 项目文件。</translation>
    </message>
    <message>
        <source>%1: %2 values were out of range and were replaced (first: %3).</source>
        <translation>%1：有 %2 个值超出范围，已被替换（第一个：%3）。</translation>
    </message>
    <message>
        <source>the new project</source>
        <translation>新项目</translation>
    </message>
    <message>
        <source>Save changes to %1?</source>
        <translation>是否保存对 %1 的更改？</translation>
    </message>
    <message>
        <source>Settings File Location...</source>
        <translation>设置文件位置...</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>帮助(&amp;H)</translation>
    </message>
    <message>
        <source>Keyboard Shortcuts</source>
        <translation>键盘快捷键</translation>
    </message>
    <message>
        <source>Lua API Reference</source>
        <translation>Lua API 参考</translation>
    </message>
    <message>
        <source>About Velmora</source>
        <translation>关于 Velmora</translation>
    </message>
    <message>
        <source>&lt;h3&gt;Velmora %1&lt;/h3&gt;&lt;p&gt;A workbench for bringing up and debugging serial devices: serial, TCP, UDP and remote serial connections side by side, with auto reply, commands, sequences and Lua scripts.&lt;/p&gt;&lt;p&gt;Built with Qt %2 (running on Qt %3) and %4.&lt;/p&gt;&lt;p&gt;Copyright © NORVANE. All rights reserved. Qt is used under the GNU LGPL version 3; Lua is free software under the MIT licence.&lt;/p&gt;</source>
        <translation>&lt;h3&gt;Velmora %1&lt;/h3&gt;&lt;p&gt;用于串口设备调试与联调的工作台：串口、TCP、UDP 和远程串口连接并排显示，支持自动应答、命令、序列和 Lua 脚本。&lt;/p&gt;&lt;p&gt;基于 Qt %2 构建（运行于 Qt %3），使用 %4。&lt;/p&gt;&lt;p&gt;版权所有 © NORVANE。保留所有权利。Qt 依据 GNU LGPL 第 3 版使用；Lua 是依据 MIT 许可证发布的自由软件。&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Send box: send the message</source>
        <translation>发送框：发送消息</translation>
    </message>
    <message>
        <source>Receive view: every key goes to the device while the port is open and sends text; Enter sends the port&apos;s Enter bytes</source>
        <translation>接收区：端口打开且以文本发送时，每个按键都会发往设备；回车发送端口设定的回车字节</translation>
    </message>
    <message>
        <source>any key</source>
        <translation>任意键</translation>
    </message>
    <message>
        <source>Scripts window: run the script</source>
        <translation>脚本窗口：运行脚本</translation>
    </message>
    <message>
        <source>Scripts window: Lua API reference</source>
        <translation>脚本窗口：Lua API 参考</translation>
    </message>
    <message>
        <source>Command %1 / %2: send to the focused port</source>
        <translation>命令 %1 / %2：发送到当前端口</translation>
    </message>
    <message>
        <source>Modbus Request Builder...</source>
        <translation>Modbus 请求生成器...</translation>
    </message>
    <message>
        <source>Frame Templates...</source>
        <translation>帧模板...</translation>
    </message>
    <message>
        <source>No cloud server is set: enter one as &quot;Cloud server&quot; in Edit &gt; Settings..., on the Cloud page.</source>
        <translation>尚未设置云服务器：请在“编辑 &gt; 设置...”的“云”页面中填写“云服务器”。</translation>
    </message>
    <message>
        <source>&amp;Cloud</source>
        <translation>云(&amp;C)</translation>
    </message>
    <message>
        <source>Sign In...</source>
        <translation>登录...</translation>
    </message>
    <message>
        <source>Sign Out</source>
        <translation>退出登录</translation>
    </message>
    <message>
        <source>Sync Now</source>
        <translation>立即同步</translation>
    </message>
    <message>
        <source>Sync Settings...</source>
        <translation>同步设置...</translation>
    </message>
    <message>
        <source>This Computer&apos;s Name...</source>
        <translation>本机名称...</translation>
    </message>
    <message>
        <source>Privacy and Online Features...</source>
        <translation>隐私与在线功能...</translation>
    </message>
    <message>
        <source>Syncing settings…</source>
        <translation>正在同步设置…</translation>
    </message>
    <message>
        <source>Settings synced; this computer took over changes.</source>
        <translation>设置已同步；本机已采用其他设备的更改。</translation>
    </message>
    <message>
        <source>Settings synced.</source>
        <translation>设置已同步。</translation>
    </message>
    <message>
        <source>Sync failed.</source>
        <translation>同步失败。</translation>
    </message>
    <message>
        <source>Sync failed: %1</source>
        <translation>同步失败：%1</translation>
    </message>
    <message>
        <source>Sync cancelled; nothing was changed.</source>
        <translation>同步已取消；未做任何更改。</translation>
    </message>
    <message>
        <source>Cloud settings changed; use Sync Now to resolve.</source>
        <translation>云端设置已更改；请使用“立即同步”来处理。</translation>
    </message>
    <message>
        <source>Settings from the cloud are applied; the language changes when Velmora starts again.</source>
        <translation>已应用云端设置；界面语言将在 Velmora 下次启动时更改。</translation>
    </message>
    <message>
        <source>Settings from the cloud are applied.</source>
        <translation>已应用云端设置。</translation>
    </message>
    <message>
        <source>The cloud settings come from a newer Velmora and were left alone.</source>
        <translation>云端设置来自更新版本的 Velmora，未予应用。</translation>
    </message>
    <message>
        <source>Sign in again to sync settings.</source>
        <translation>请重新登录以同步设置。</translation>
    </message>
    <message>
        <source>Online features are off; this computer is signed out.</source>
        <translation>在线功能已关闭；本机已退出登录。</translation>
    </message>
    <message>
        <source>Settings sync is off: turn it on in Cloud &gt; Sync Settings...</source>
        <translation>设置同步已关闭：请在“云 &gt; 同步设置...”中开启。</translation>
    </message>
    <message>
        <source>Settings Sync</source>
        <translation>设置同步</translation>
    </message>
    <message>
        <source>Cloud settings are different from this computer.</source>
        <translation>云端设置与本机不同。</translation>
    </message>
    <message>
        <source>Choose which settings to keep for this manual sync.</source>
        <translation>请选择本次手动同步要保留的设置。</translation>
    </message>
    <message>
        <source>Use Cloud</source>
        <translation>使用云端</translation>
    </message>
    <message>
        <source>Keep Local</source>
        <translation>保留本机</translation>
    </message>
    <message>
        <source>Merge Lists</source>
        <translation>合并列表</translation>
    </message>
    <message>
        <source>Signed in as %1.</source>
        <translation>已登录为 %1。</translation>
    </message>
    <message>
        <source>Signed out.</source>
        <translation>已退出登录。</translation>
    </message>
    <message>
        <source>This Computer&apos;s Name</source>
        <translation>本机名称</translation>
    </message>
    <message>
        <source>The name this computer shows in your account:</source>
        <translation>本机在您账户中显示的名称：</translation>
    </message>
    <message>
        <source>Velmora %1 is available.</source>
        <translation>Velmora %1 已发布。</translation>
    </message>
    <message>
        <source>Signed in as %1</source>
        <translation>已登录为 %1</translation>
    </message>
    <message>
        <source>Export Diagnostic Pack...</source>
        <translation>导出诊断包...</translation>
    </message>
    <message>
        <source>Send File...</source>
        <translation>发送文件...</translation>
    </message>
    <message>
        <source>Receive File...</source>
        <translation>接收文件...</translation>
    </message>
    <message>
        <source>Export Session...</source>
        <translation>导出会话...</translation>
    </message>
    <message>
        <source>Write what the ports received and sent to a file</source>
        <translation>将各端口收发的数据写入文件</translation>
    </message>
    <message>
        <source>Receive view: find text, live as data arrives</source>
        <translation>接收区：查找文本，随数据到达实时更新</translation>
    </message>
    <message>
        <source>Find bar: next and previous match</source>
        <translation>查找栏：下一个和上一个匹配</translation>
    </message>
    <message>
        <source>Live Console</source>
        <translation>Live Console</translation>
    </message>
    <message>
        <source>Show This Computer&apos;s Ports in the Browser</source>
        <translation>在浏览器中显示本机端口</translation>
    </message>
    <message>
        <source>Allow Sending Data from the Browser</source>
        <translation>允许从浏览器发送数据</translation>
    </message>
    <message>
        <source>Allow Opening, Closing and Configuring Ports from the Browser</source>
        <translation>允许从浏览器打开、关闭和配置端口</translation>
    </message>
    <message>
        <source>Allow Live Relay of This Computer&apos;s Ports</source>
        <translation>允许 Live Relay 使用本机端口</translation>
    </message>
    <message>
        <source>Another computer uses this computer&apos;s cloud identity. Live Console may show the wrong ports.</source>
        <translation>另一台计算机正在使用本机的云身份。Live Console 可能显示错误的端口。</translation>
    </message>
    <message>
        <source>%1 is in use from another computer through Live Relay (%2).</source>
        <translation>%1 正被另一台计算机通过 Live Relay 使用（%2）。</translation>
    </message>
    <message>
        <source>Live Relay of %1 ended: %2</source>
        <translation>%1 的 Live Relay 已结束：%2</translation>
    </message>
    <message>
        <source>Bridges...</source>
        <translation>桥接...</translation>
    </message>
    <message>
        <source>Skipped invalid bridge(s): %1</source>
        <translation>已跳过无效的桥接：%1</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1（%2）</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>Bridge removed: %1</source>
        <translation>已移除桥接：%1</translation>
    </message>
    <message>
        <source>1 saved bridge was restored but not enabled.</source>
        <translation>已恢复 1 个保存的桥接，但未启用。</translation>
    </message>
    <message>
        <source>%1 saved bridges were restored but not enabled.</source>
        <translation>已恢复 %1 个保存的桥接，但未启用。</translation>
    </message>
    <message>
        <source>1 saved bridge waits for its ports: add the connections it names and it appears in Tools &gt; Bridges, not enabled.</source>
        <translation>1 个保存的桥接正在等待其端口：添加它所指定的连接后，它会出现在“工具 &gt; 桥接”中，且未启用。</translation>
    </message>
    <message>
        <source>%1 saved bridges wait for their ports: add the connections they name and they appear in Tools &gt; Bridges, not enabled.</source>
        <translation>%1 个保存的桥接正在等待其端口：添加它们所指定的连接后，它们会出现在“工具 &gt; 桥接”中，且未启用。</translation>
    </message>
    <message>
        <source>%1 is now served as RFC 2217 on TCP port %2 of this computer.</source>
        <translation>%1 现已作为 RFC 2217 在本机 TCP 端口 %2 上提供服务。</translation>
    </message>
    <message>
        <source>%1 is now served on TCP port %2 of this computer.</source>
        <translation>%1 现已在本机 TCP 端口 %2 上提供服务。</translation>
    </message>
    <message>
        <source>Record Session...</source>
        <translation>录制会话...</translation>
    </message>
    <message>
        <source>Open Recording...</source>
        <translation>打开录制...</translation>
    </message>
    <message>
        <source>Stop Recording</source>
        <translation>停止录制</translation>
    </message>
    <message>
        <source>Record Session</source>
        <translation>录制会话</translation>
    </message>
    <message numerus="yes">
        <source>%n port(s)</source>
        <translation>
            <numerusform>%n 个端口</numerusform>
        </translation>
    </message>
    <message>
        <source>Open Recording</source>
        <translation>打开录制</translation>
    </message>
    <message>
        <source>Recordings and session exports (*.vlmlog *.jsonl)</source>
        <translation>录制文件和会话导出 (*.vlmlog *.jsonl)</translation>
    </message>
    <message>
        <source>Share Port with a Guest…</source>
        <translation>与访客共享端口…</translation>
    </message>
    <message>
        <source>Manage Guest Shares…</source>
        <translation>管理访客共享…</translation>
    </message>
    <message>
        <source>Sharing ended: %1</source>
        <translation>共享已结束：%1</translation>
    </message>
    <message>
        <source>Live Share · %1</source>
        <translation>Live Share · %1</translation>
    </message>
    <message>
        <source>expires %1</source>
        <translation>%1 过期</translation>
    </message>
    <message>
        <source>Guest: %1</source>
        <translation>访客：%1</translation>
    </message>
    <message>
        <source>%1 since %2</source>
        <translation>%1 自 %2 起</translation>
    </message>
    <message>
        <source>waiting for a guest</source>
        <translation>等待访客</translation>
    </message>
    <message>
        <source>The application is closing.</source>
        <translation>应用程序正在关闭。</translation>
    </message>
    <message>
        <source>Cloud &gt; Share Port with a Guest… to stop</source>
        <translation>在“云 &gt; 与访客共享端口…”中停止</translation>
    </message>
</context>
<context>
    <name>ManageGuestSharesDialog</name>
    <message>
        <source>Manage Guest Shares</source>
        <translation>管理访客共享</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>计算机</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>Label</source>
        <translation>标签</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>邀请码</translation>
    </message>
    <message>
        <source>Expires</source>
        <translation>过期时间</translation>
    </message>
    <message>
        <source>Guests</source>
        <translation>访客</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>刷新</translation>
    </message>
    <message>
        <source>Copy Code</source>
        <translation>复制邀请码</translation>
    </message>
    <message>
        <source>Stop Sharing</source>
        <translation>停止共享</translation>
    </message>
    <message>
        <source>Code copied.</source>
        <translation>邀请码已复制。</translation>
    </message>
    <message>
        <source>Stopping %1…</source>
        <translation>正在停止 %1…</translation>
    </message>
    <message>
        <source>You stopped sharing.</source>
        <translation>您已停止共享。</translation>
    </message>
    <message>
        <source>Could not load the share list: %1</source>
        <translation>无法加载共享列表：%1</translation>
    </message>
    <message>
        <source>Loading…</source>
        <translation>正在加载…</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>等待中</translation>
    </message>
    <message>
        <source>No guest shares right now.</source>
        <translation>当前没有访客共享。</translation>
    </message>
</context>
<context>
    <name>MessageCodec</name>
    <message>
        <source>The message ends with a lone backslash. Write \\ to send one.</source>
        <translation>消息以单个反斜杠结尾。要发送一个反斜杠，请写作 \\。</translation>
    </message>
    <message>
        <source>\x must be followed by two hex digits, as in \x1B.</source>
        <translation>\x 后面必须跟两位十六进制数字，例如 \x1B。</translation>
    </message>
    <message>
        <source>Unknown escape sequence \%1. Write \\ to send a backslash.</source>
        <translation>未知的转义序列 \%1。要发送反斜杠，请写作 \\。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; at position %2 is not a hex digit.</source>
        <translation>第 %2 个字符“%1”不是十六进制数字。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; at position %2 has no second digit: use two hex digits per byte.</source>
        <translation>第 %2 个字符“%1”缺少第二位数字：每个字节请使用两位十六进制数字。</translation>
    </message>
</context>
<context>
    <name>ModbusBuilderDialog</name>
    <message>
        <source>Modbus Request Builder</source>
        <translation>Modbus 请求生成器</translation>
    </message>
    <message>
        <source>Modbus RTU</source>
        <translation>Modbus RTU</translation>
    </message>
    <message>
        <source>Modbus ASCII</source>
        <translation>Modbus ASCII</translation>
    </message>
    <message>
        <source>Protocol</source>
        <translation>协议</translation>
    </message>
    <message>
        <source>0 is the broadcast address</source>
        <translation>0 为广播地址</translation>
    </message>
    <message>
        <source>Slave ID</source>
        <translation>从站地址</translation>
    </message>
    <message>
        <source>01  Read Coils</source>
        <translation>01  读线圈</translation>
    </message>
    <message>
        <source>02  Read Discrete Inputs</source>
        <translation>02  读离散输入</translation>
    </message>
    <message>
        <source>03  Read Holding Registers</source>
        <translation>03  读保持寄存器</translation>
    </message>
    <message>
        <source>04  Read Input Registers</source>
        <translation>04  读输入寄存器</translation>
    </message>
    <message>
        <source>05  Write Single Coil</source>
        <translation>05  写单个线圈</translation>
    </message>
    <message>
        <source>06  Write Single Register</source>
        <translation>06  写单个寄存器</translation>
    </message>
    <message>
        <source>0F  Write Multiple Coils</source>
        <translation>0F  写多个线圈</translation>
    </message>
    <message>
        <source>10  Write Multiple Registers</source>
        <translation>10  写多个寄存器</translation>
    </message>
    <message>
        <source>Function</source>
        <translation>功能码</translation>
    </message>
    <message>
        <source>Start address</source>
        <translation>起始地址</translation>
    </message>
    <message>
        <source>Quantity</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>ON  (FF 00)</source>
        <translation>通  (FF 00)</translation>
    </message>
    <message>
        <source>OFF (00 00)</source>
        <translation>断 (00 00)</translation>
    </message>
    <message>
        <source>Coil state</source>
        <translation>线圈状态</translation>
    </message>
    <message>
        <source>Values</source>
        <translation>数值</translation>
    </message>
    <message>
        <source>Frame (hex)</source>
        <translation>帧（十六进制）</translation>
    </message>
    <message>
        <source>ASCII line</source>
        <translation>ASCII 行</translation>
    </message>
    <message>
        <source>Copy HEX</source>
        <translation>复制十六进制</translation>
    </message>
    <message>
        <source>Insert to Send Area</source>
        <translation>插入发送区</translation>
    </message>
    <message>
        <source>Register value in HEX, e.g. 00 0A</source>
        <translation>十六进制寄存器值，例如 00 0A</translation>
    </message>
    <message>
        <source>Register values in HEX, e.g. 000A 0102</source>
        <translation>十六进制寄存器值，例如 000A 0102</translation>
    </message>
    <message>
        <source>Coil states 0/1, e.g. 1 0 1 1</source>
        <translation>线圈状态 0/1，例如 1 0 1 1</translation>
    </message>
    <message>
        <source>Coil states must be 0 or 1, got &quot;%1&quot;.</source>
        <translation>线圈状态必须为 0 或 1，收到的是“%1”。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a 16-bit HEX value.</source>
        <translation>“%1”不是 16 位十六进制值。</translation>
    </message>
    <message>
        <source>Write Single Register takes exactly one value.</source>
        <translation>写单个寄存器只接受一个值。</translation>
    </message>
</context>
<context>
    <name>ModbusCodec</name>
    <message>
        <source>%1 must be between %2 and %3.</source>
        <translation>%1 必须在 %2 到 %3 之间。</translation>
    </message>
    <message>
        <source>Address %1 plus count %2 exceeds the 65536 address space.</source>
        <translation>地址 %1 加数量 %2 超出了 65536 的地址空间。</translation>
    </message>
    <message>
        <source>Slave ID must be between 0 and 247.</source>
        <translation>从站 ID 必须在 0 到 247 之间。</translation>
    </message>
    <message>
        <source>Coil count</source>
        <translation>线圈数量</translation>
    </message>
    <message>
        <source>Register count</source>
        <translation>寄存器数量</translation>
    </message>
    <message>
        <source>Write Single Coil needs exactly one value.</source>
        <translation>写单个线圈需要恰好一个值。</translation>
    </message>
    <message>
        <source>Write Single Register needs exactly one value.</source>
        <translation>写单个寄存器需要恰好一个值。</translation>
    </message>
    <message>
        <source>Unsupported function code 0x%1.</source>
        <translation>不支持的功能码 0x%1。</translation>
    </message>
</context>
<context>
    <name>ModbusDecoder</name>
    <message>
        <source>Illegal Function</source>
        <translation>非法功能</translation>
    </message>
    <message>
        <source>Illegal Data Address</source>
        <translation>非法数据地址</translation>
    </message>
    <message>
        <source>Illegal Data Value</source>
        <translation>非法数据值</translation>
    </message>
    <message>
        <source>Slave Device Failure</source>
        <translation>从站设备故障</translation>
    </message>
    <message>
        <source>Acknowledge</source>
        <translation>确认</translation>
    </message>
    <message>
        <source>Slave Device Busy</source>
        <translation>从站设备忙</translation>
    </message>
    <message>
        <source>Memory Parity Error</source>
        <translation>存储奇偶校验错误</translation>
    </message>
    <message>
        <source>Gateway Path Unavailable</source>
        <translation>网关路径不可用</translation>
    </message>
    <message>
        <source>Gateway Target Device Failed to Respond</source>
        <translation>网关目标设备未响应</translation>
    </message>
    <message>
        <source>Unknown Exception</source>
        <translation>未知异常</translation>
    </message>
    <message>
        <source>Read Coils</source>
        <translation>读线圈</translation>
    </message>
    <message>
        <source>Read Discrete Inputs</source>
        <translation>读离散输入</translation>
    </message>
    <message>
        <source>Read Holding Registers</source>
        <translation>读保持寄存器</translation>
    </message>
    <message>
        <source>Read Input Registers</source>
        <translation>读输入寄存器</translation>
    </message>
    <message>
        <source>Write Single Coil</source>
        <translation>写单个线圈</translation>
    </message>
    <message>
        <source>Write Single Register</source>
        <translation>写单个寄存器</translation>
    </message>
    <message>
        <source>Read Exception Status</source>
        <translation>读异常状态</translation>
    </message>
    <message>
        <source>Diagnostics</source>
        <translation>诊断</translation>
    </message>
    <message>
        <source>Get Comm Event Counter</source>
        <translation>获取通信事件计数</translation>
    </message>
    <message>
        <source>Get Comm Event Log</source>
        <translation>获取通信事件记录</translation>
    </message>
    <message>
        <source>Write Multiple Coils</source>
        <translation>写多个线圈</translation>
    </message>
    <message>
        <source>Write Multiple Registers</source>
        <translation>写多个寄存器</translation>
    </message>
    <message>
        <source>Report Server ID</source>
        <translation>报告从站 ID</translation>
    </message>
    <message>
        <source>Mask Write Register</source>
        <translation>屏蔽写寄存器</translation>
    </message>
    <message>
        <source>Read/Write Multiple Registers</source>
        <translation>读/写多个寄存器</translation>
    </message>
    <message>
        <source>Encapsulated Interface Transport</source>
        <translation>封装接口传输</translation>
    </message>
    <message>
        <source>Function 0x%1</source>
        <translation>功能 0x%1</translation>
    </message>
    <message>
        <source>Slave %1</source>
        <translation>从站 %1</translation>
    </message>
    <message>
        <source>Empty PDU</source>
        <translation>空 PDU</translation>
    </message>
    <message>
        <source>Exception (%1)</source>
        <translation>异常 (%1)</translation>
    </message>
    <message>
        <source>Exception %1 %2 (%3)</source>
        <translation>异常 %1 %2 (%3)</translation>
    </message>
    <message numerus="yes">
        <source>%n coil(s)</source>
        <translation>
            <numerusform>%n 个线圈</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n byte(s)</source>
        <translation>
            <numerusform>%n 个字节</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n register(s)</source>
        <translation>
            <numerusform>%n 个寄存器</numerusform>
        </translation>
    </message>
    <message>
        <source>read %1, write %2</source>
        <translation>读 %1，写 %2</translation>
    </message>
    <message>
        <source>Byte count</source>
        <translation>字节数</translation>
    </message>
    <message>
        <source>Data</source>
        <translation>数据</translation>
    </message>
    <message>
        <source>Function</source>
        <translation>功能码</translation>
    </message>
    <message>
        <source>Exception</source>
        <translation>异常</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>起始地址</translation>
    </message>
    <message>
        <source>Quantity</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Coils</source>
        <translation>线圈</translation>
    </message>
    <message>
        <source>Inputs</source>
        <translation>输入</translation>
    </message>
    <message>
        <source>Registers</source>
        <translation>寄存器</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>地址</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>值</translation>
    </message>
    <message>
        <source>0x%1 (invalid)</source>
        <translation>0x%1 (无效)</translation>
    </message>
    <message>
        <source>Sub-function</source>
        <translation>子功能码</translation>
    </message>
    <message>
        <source>AND mask</source>
        <translation>AND 掩码</translation>
    </message>
    <message>
        <source>OR mask</source>
        <translation>OR 掩码</translation>
    </message>
    <message>
        <source>Read start</source>
        <translation>读起始地址</translation>
    </message>
    <message>
        <source>Read quantity</source>
        <translation>读数量</translation>
    </message>
    <message>
        <source>Write start</source>
        <translation>写起始地址</translation>
    </message>
    <message>
        <source>Write quantity</source>
        <translation>写数量</translation>
    </message>
    <message>
        <source>Write values</source>
        <translation>写入值</translation>
    </message>
    <message>
        <source>Transaction</source>
        <translation>事务</translation>
    </message>
    <message>
        <source>Protocol</source>
        <translation>协议</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>长度</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>单元</translation>
    </message>
    <message>
        <source>Note</source>
        <translation>说明</translation>
    </message>
    <message>
        <source>Slave</source>
        <translation>从站</translation>
    </message>
    <message>
        <source>LRC</source>
        <translation>LRC</translation>
    </message>
    <message>
        <source>CRC</source>
        <translation>CRC</translation>
    </message>
</context>
<context>
    <name>ModbusStreamDecoder</name>
    <message>
        <source>Incomplete frame</source>
        <translation>不完整的帧</translation>
    </message>
    <message>
        <source>Malformed frame</source>
        <translation>格式错误的帧</translation>
    </message>
    <message>
        <source>0x%1 OK</source>
        <translation>0x%1 正确</translation>
    </message>
    <message>
        <source>0x%1 (expected 0x%2)</source>
        <translation>0x%1 (应为 0x%2)</translation>
    </message>
    <message>
        <source>ASCII frame; offsets count the decoded bytes</source>
        <translation>ASCII 帧；偏移按解码后的字节计</translation>
    </message>
</context>
<context>
    <name>MonitorCommand</name>
    <message>
        <source>Prints what arrives; sends each line of standard input.</source>
        <translation>打印收到的数据；发送标准输入的每一行。</translation>
    </message>
    <message>
        <source>The connection.</source>
        <translation>连接。</translation>
    </message>
    <message>
        <source>Prints hex pairs instead of text.</source>
        <translation>以十六进制字节对代替文本打印。</translation>
    </message>
    <message>
        <source>Stamps each read with its time.</source>
        <translation>为每次读取加上时间戳。</translation>
    </message>
    <message>
        <source>Also appends the output to FILE.</source>
        <translation>同时将输出追加到 FILE。</translation>
    </message>
    <message>
        <source>One JSON object per event.</source>
        <translation>每个事件一个 JSON 对象。</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>%1 did not take the line.</source>
        <translation>%1 未接受该行。</translation>
    </message>
</context>
<context>
    <name>MultiClientServer</name>
    <message>
        <source>not on the address allowlist</source>
        <translation>不在地址白名单中</translation>
    </message>
    <message>
        <source>the port already has a client (exclusive mode)</source>
        <translation>该端口已有客户端连接（独占模式）</translation>
    </message>
</context>
<context>
    <name>MultiPortSettingDlg</name>
    <message>
        <source>Connection Settings</source>
        <translation>连接设置</translation>
    </message>
    <message>
        <source>Quick Settings</source>
        <translation>快捷设置</translation>
    </message>
    <message>
        <source>Connection %1</source>
        <translation>连接 %1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>Select at least one quick settings group to show.</source>
        <translation>请至少选择一个要显示的快捷设置分组。</translation>
    </message>
    <message>
        <source>Restore Default Settings</source>
        <translation>恢复默认设置</translation>
    </message>
    <message>
        <source>Replace the settings shown in this dialog with their defaults?</source>
        <translation>将此对话框中的设置恢复为默认值？</translation>
    </message>
    <message>
        <source>Cloud</source>
        <translation>云</translation>
    </message>
</context>
<context>
    <name>NetworkServices</name>
    <message>
        <source>No cloud server is set. Enter its address as &quot;Cloud server&quot; in Edit &gt; Settings..., on the Cloud page.</source>
        <translation>尚未设置云服务器。请在“编辑 &gt; 设置...”的“云”页面中填写“云服务器”地址。</translation>
    </message>
    <message>
        <source>The server does not offer this feature yet. The service may be under maintenance or being upgraded; please try again later or check for a newer version.</source>
        <translation>服务器尚未提供此功能。服务可能正在维护或升级；请稍后重试，或检查是否有新版本。</translation>
    </message>
    <message>
        <source>The server declined the request. Please sign in again and retry.</source>
        <translation>服务器拒绝了请求。请重新登录后重试。</translation>
    </message>
    <message>
        <source>The server encountered an internal error. Please try again later.</source>
        <translation>服务器发生内部错误。请稍后重试。</translation>
    </message>
    <message>
        <source>The server rejected the request (HTTP %1). Please try again later.</source>
        <translation>服务器拒绝了请求（HTTP %1）。请稍后重试。</translation>
    </message>
    <message>
        <source>The server returned an unexpected response. Please try again later.</source>
        <translation>服务器返回了意外的响应。请稍后重试。</translation>
    </message>
    <message>
        <source>The server did not respond in time. Please check your network connection and try again.</source>
        <translation>服务器未能及时响应。请检查网络连接后重试。</translation>
    </message>
    <message>
        <source>A secure connection to the server could not be established. Please check your network environment.</source>
        <translation>无法与服务器建立安全连接。请检查您的网络环境。</translation>
    </message>
    <message>
        <source>The proxy server could not be reached. Please check your proxy settings.</source>
        <translation>无法连接代理服务器。请检查代理设置。</translation>
    </message>
    <message>
        <source>Could not connect to the server. Please check your network connection and try again.</source>
        <translation>无法连接到服务器。请检查网络连接后重试。</translation>
    </message>
</context>
<context>
    <name>NewConnection</name>
    <message>
        <source>New Connection</source>
        <translation>新建连接</translation>
    </message>
    <message>
        <source>Serial Port</source>
        <translation>串口</translation>
    </message>
    <message>
        <source>TCP/IP</source>
        <translation>TCP/IP</translation>
    </message>
    <message>
        <source>Bridge (network to serial)</source>
        <translation>桥接（网络转串口）</translation>
    </message>
    <message>
        <source>Connection type</source>
        <translation>连接类型</translation>
    </message>
</context>
<context>
    <name>PlotPanel</name>
    <message>
        <source>Channel</source>
        <translation>通道</translation>
    </message>
    <message>
        <source>Last</source>
        <translation>最新</translation>
    </message>
    <message>
        <source>Mean</source>
        <translation>平均</translation>
    </message>
    <message>
        <source>Min</source>
        <translation>最小</translation>
    </message>
    <message>
        <source>Max</source>
        <translation>最大</translation>
    </message>
    <message>
        <source>P-P</source>
        <translation>峰峰值</translation>
    </message>
    <message>
        <source>Std Dev</source>
        <translation>标准差</translation>
    </message>
    <message>
        <source>Untick a channel to hide it; double click a name to rename it.</source>
        <translation>取消勾选可隐藏通道；双击名称可重命名。</translation>
    </message>
    <message>
        <source>Waiting for samples. Print one line per sample, such as &quot;1.5,-0.2,3&quot; or &quot;temp:21.5 hum:40&quot;; VOFA+ FireWater lines work too.</source>
        <translation>正在等待样本。每个样本打印一行，例如 &quot;1.5,-0.2,3&quot; 或 &quot;temp:21.5 hum:40&quot;；也支持 VOFA+ FireWater 格式的行。</translation>
    </message>
    <message>
        <source>Waiting for JustFloat frames: little-endian floats, one per channel, then 00 00 80 7F.</source>
        <translation>正在等待 JustFloat 帧：每个通道一个小端浮点数，之后是 00 00 80 7F。</translation>
    </message>
    <message>
        <source>Enter a regular expression above. Each capture group becomes a channel.</source>
        <translation>请在上方输入正则表达式。每个捕获组成为一个通道。</translation>
    </message>
    <message>
        <source>Waiting for lines that match the expression.</source>
        <translation>正在等待与表达式匹配的行。</translation>
    </message>
    <message>
        <source>Invalid expression: %1</source>
        <translation>无效的表达式：%1</translation>
    </message>
    <message>
        <source>CH%1</source>
        <translation>通道%1</translation>
    </message>
    <message numerus="yes">
        <source>%n channel(s)</source>
        <translation>
            <numerusform>%n 个通道</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 samples/s</source>
        <translation>%1 样本/秒</translation>
    </message>
    <message>
        <source>%1 samples held</source>
        <translation>已保存 %1 个样本</translation>
    </message>
    <message>
        <source>%1 bad frames skipped</source>
        <translation>已跳过 %1 个错误帧</translation>
    </message>
    <message>
        <source>%1 other lines skipped</source>
        <translation>已跳过 %1 行其他内容</translation>
    </message>
    <message>
        <source>paused</source>
        <translation>已暂停</translation>
    </message>
    <message>
        <source>Text (CSV, FireWater, Arduino)</source>
        <translation>文本（CSV、FireWater、Arduino）</translation>
    </message>
    <message>
        <source>JustFloat (VOFA+)</source>
        <translation>JustFloat（VOFA+）</translation>
    </message>
    <message>
        <source>Regex</source>
        <translation>正则表达式</translation>
    </message>
    <message>
        <source>How received bytes become samples</source>
        <translation>接收的字节如何转换为样本</translation>
    </message>
    <message>
        <source>Regular expression, such as T=(\S+) H=(\S+)</source>
        <translation>正则表达式，例如 T=(\S+) H=(\S+)</translation>
    </message>
    <message>
        <source>Samples</source>
        <translation>样本</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>What the horizontal axis counts</source>
        <translation>横轴的计量方式</translation>
    </message>
    <message>
        <source>How much history the view shows (the mouse wheel zooms)</source>
        <translation>视图显示多少历史（鼠标滚轮可缩放）</translation>
    </message>
    <message>
        <source>Auto Scale</source>
        <translation>自动缩放</translation>
    </message>
    <message>
        <source>Fit the vertical range to the curves in view (Ctrl and the mouse wheel set a fixed range)</source>
        <translation>使纵向范围适应视图中的曲线（Ctrl 加鼠标滚轮可设定固定范围）</translation>
    </message>
    <message>
        <source>Bottom of the fixed range</source>
        <translation>固定范围的下限</translation>
    </message>
    <message>
        <source>Top of the fixed range</source>
        <translation>固定范围的上限</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>Freeze the view; samples go on being collected (Space)</source>
        <translation>冻结视图；样本仍继续采集（空格键）</translation>
    </message>
    <message>
        <source>Measure</source>
        <translation>测量</translation>
    </message>
    <message>
        <source>Left clicks place cursors A and B; a right click clears them</source>
        <translation>左键单击放置光标 A 和 B；右键单击清除</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清除</translation>
    </message>
    <message>
        <source>Forget every sample</source>
        <translation>丢弃所有样本</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>导出</translation>
    </message>
    <message>
        <source>CSV...</source>
        <translation>CSV...</translation>
    </message>
    <message>
        <source>PNG...</source>
        <translation>PNG...</translation>
    </message>
    <message>
        <source>Pop Out</source>
        <translation>弹出</translation>
    </message>
    <message>
        <source>Show the plot in a window of its own</source>
        <translation>在单独的窗口中显示绘图</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Hide the plot</source>
        <translation>隐藏绘图</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>%1 samples</source>
        <translation>%1 个样本</translation>
    </message>
    <message>
        <source>All</source>
        <translation>全部</translation>
    </message>
    <message>
        <source>Could not write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>Could not write %1.</source>
        <translation>无法写入 %1。</translation>
    </message>
    <message>
        <source>Export Plot as CSV</source>
        <translation>将绘图导出为 CSV</translation>
    </message>
    <message>
        <source>Export Plot as PNG</source>
        <translation>将绘图导出为 PNG</translation>
    </message>
    <message>
        <source>CSV files (*.csv)</source>
        <translation>CSV 文件 (*.csv)</translation>
    </message>
    <message>
        <source>PNG images (*.png)</source>
        <translation>PNG 图像 (*.png)</translation>
    </message>
    <message>
        <source>Plot</source>
        <translation>绘图</translation>
    </message>
    <message>
        <source>Plot - %1</source>
        <translation>绘图 - %1</translation>
    </message>
</context>
<context>
    <name>PlotView</name>
    <message>
        <source>CH%1</source>
        <translation>通道%1</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>A %1 s  B %2 s  dt %3 s</source>
        <translation>A %1 秒  B %2 秒  dt %3 秒</translation>
    </message>
    <message>
        <source>  1/dt %1 Hz</source>
        <translation>  1/dt %1 Hz</translation>
    </message>
    <message>
        <source>A #%1  B #%2  dn %3</source>
        <translation>A #%1  B #%2  dn %3</translation>
    </message>
    <message>
        <source>%1  A %2  B %3  d %4</source>
        <translation>%1  A %2  B %3  d %4</translation>
    </message>
    <message>
        <source>A %1 s</source>
        <translation>A %1 秒</translation>
    </message>
    <message>
        <source>A #%1</source>
        <translation>A #%1</translation>
    </message>
    <message>
        <source>%1  A %2</source>
        <translation>%1  A %2</translation>
    </message>
    <message>
        <source>%1  %2</source>
        <translation>%1  %2</translation>
    </message>
</context>
<context>
    <name>PortBridgeHooks</name>
    <message>
        <source>The line settings asked for over the network were refused: %1</source>
        <translation>通过网络请求的线路参数被拒绝：%1</translation>
    </message>
</context>
<context>
    <name>PortEndpoint</name>
    <message>
        <source>the port has been removed</source>
        <translation>该端口已被移除</translation>
    </message>
</context>
<context>
    <name>PortSession</name>
    <message>
        <source>No TCP client is connected yet.</source>
        <translation>尚无 TCP 客户端连接。</translation>
    </message>
    <message>
        <source>A file transfer is running.</source>
        <translation>正在进行文件传输。</translation>
    </message>
    <message>
        <source>A file transfer is using this port. Sending data now would corrupt it.</source>
        <translation>文件传输正在使用此端口，此时发送数据会破坏传输。</translation>
    </message>
    <message>
        <source>A file transfer is using this port. Changing the port settings would interrupt it.</source>
        <translation>文件传输正在使用此端口，更改端口设置会中断传输。</translation>
    </message>
    <message>
        <source>A file transfer is using this port. Changing the control lines would interrupt it.</source>
        <translation>文件传输正在使用此端口，更改控制线会中断传输。</translation>
    </message>
    <message>
        <source>Reconnecting to %1:%2 ...</source>
        <translation>正在重连 %1:%2 ...</translation>
    </message>
    <message>
        <source>TCP connection RESTORED</source>
        <translation>TCP 连接已恢复</translation>
    </message>
    <message>
        <source>Serial Port %1 RECONNECTED</source>
        <translation>串口 %1 已重连</translation>
    </message>
    <message>
        <source>Choose a serial port or type its path.</source>
        <translation>请选择串口或输入其路径。</translation>
    </message>
    <message>
        <source>Enter the host to connect to.</source>
        <translation>请输入要连接的主机。</translation>
    </message>
    <message>
        <source>Port %1 cannot be connected to: use 1 to 65535.</source>
        <translation>无法连接端口 %1：请使用 1 到 65535 之间的端口号。</translation>
    </message>
    <message>
        <source>Port %1 cannot be listened on: use 0 to 65535.</source>
        <translation>无法监听端口 %1：请使用 0 到 65535 之间的端口号。</translation>
    </message>
    <message>
        <source>This connection type is not supported. Choose another one.</source>
        <translation>不支持此连接类型，请选择其他类型。</translation>
    </message>
    <message>
        <source>The port is not open.</source>
        <translation>端口未打开。</translation>
    </message>
    <message>
        <source>The remote peer did not accept RFC 2217 com-port control, so Break cannot be sent.</source>
        <translation>远程对端未接受 RFC 2217 串口控制，因此无法发送 Break。</translation>
    </message>
    <message>
        <source>Could not send Break: the connection is not open.</source>
        <translation>无法发送 Break：连接未打开。</translation>
    </message>
    <message>
        <source>Sent Break to the remote port; it is released when you let go.</source>
        <translation>已向远程端口发送 Break；松开时释放。</translation>
    </message>
    <message>
        <source>this port is not a remote serial port</source>
        <translation>此端口不是远程串口</translation>
    </message>
    <message>
        <source>a file transfer is using the port</source>
        <translation>文件传输正在使用该端口</translation>
    </message>
    <message>
        <source>the remote serial port is not connected</source>
        <translation>远程串口未连接</translation>
    </message>
    <message>
        <source>the remote peer has not accepted RFC 2217 com-port control</source>
        <translation>远程对端尚未接受 RFC 2217 串口控制</translation>
    </message>
    <message>
        <source>the connection to the remote serial port is not open</source>
        <translation>到远程串口的连接未打开</translation>
    </message>
    <message>
        <source>Live Relay needs a cloud account: sign in first.</source>
        <translation>Live Relay 需要云账户：请先登录。</translation>
    </message>
    <message>
        <source>Opening the relay to %1...</source>
        <translation>正在打开到 %1 的中继...</translation>
    </message>
    <message>
        <source>Joining with the invite code...</source>
        <translation>正在使用邀请码加入...</translation>
    </message>
</context>
<context>
    <name>PortsCommand</name>
    <message>
        <source>Lists the serial ports, with description and USB VID:PID where known.</source>
        <translation>列出串口，并在已知时给出描述和 USB VID:PID。</translation>
    </message>
    <message>
        <source>One JSON object per port.</source>
        <translation>每个端口一个 JSON 对象。</translation>
    </message>
    <message>
        <source>No serial port was found.</source>
        <translation>未找到串口。</translation>
    </message>
</context>
<context>
    <name>PrivacyConsentDialog</name>
    <message>
        <source>Privacy and Online Features</source>
        <translation>隐私与在线功能</translation>
    </message>
    <message>
        <source>&lt;p&gt;Velmora works fully offline. With your consent it also talks to the cloud server set in the settings page, for:&lt;/p&gt;&lt;ul&gt;&lt;li&gt;signing in to your account and binding this computer to it;&lt;/li&gt;&lt;li&gt;keeping your preferences in step between your computers;&lt;/li&gt;&lt;li&gt;a short report of this program&apos;s version and system;&lt;/li&gt;&lt;li&gt;Live Console, Live Relay and guest shares, when you start them.&lt;/li&gt;&lt;/ul&gt;&lt;p&gt;The check for a newer version runs either way.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Velmora 可以完全离线工作。在您同意后，它还会与设置页面中指定的云服务器通信，用于：&lt;/p&gt;&lt;ul&gt;&lt;li&gt;登录您的账户并将本机绑定到账户；&lt;/li&gt;&lt;li&gt;在您的多台电脑之间保持偏好设置一致；&lt;/li&gt;&lt;li&gt;发送一份关于本程序版本和系统的简短报告；&lt;/li&gt;&lt;li&gt;在您启动时使用实时控制台、实时中继和访客共享。&lt;/li&gt;&lt;/ul&gt;&lt;p&gt;无论是否同意，都会检查是否有新版本。&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;How the service treats your data: &lt;a href=&quot;%1&quot;&gt;Privacy Policy&lt;/a&gt;.&lt;/p&gt;</source>
        <translation>&lt;p&gt;该服务如何处理您的数据：&lt;a href=&quot;%1&quot;&gt;隐私政策&lt;/a&gt;。&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Online features are on. Turning them off stops the reports, signs this computer out and turns off cloud services here.&lt;/p&gt;</source>
        <translation>&lt;p&gt;在线功能已开启。关闭后将停止报告，使本机退出登录，并关闭本机的云服务。&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Keep Online Features On</source>
        <translation>保持在线功能开启</translation>
    </message>
    <message>
        <source>Allow</source>
        <translation>允许</translation>
    </message>
    <message>
        <source>Turn Off Online Features</source>
        <translation>关闭在线功能</translation>
    </message>
    <message>
        <source>Not Now</source>
        <translation>暂不</translation>
    </message>
</context>
<context>
    <name>QuickSettingsEditor</name>
    <message>
        <source>Choose the groups and fields to show, and arrange their order.</source>
        <translation>选择要显示的分组和字段，并调整其顺序。</translation>
    </message>
    <message>
        <source>Move Up</source>
        <translation>上移</translation>
    </message>
    <message>
        <source>Move Down</source>
        <translation>下移</translation>
    </message>
</context>
<context>
    <name>ReceiveFindBar</name>
    <message>
        <source>Keyword</source>
        <translation>关键字</translation>
    </message>
    <message>
        <source>Case</source>
        <translation>区分大小写</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>过滤</translation>
    </message>
    <message>
        <source>Show only the lines that hold the keyword</source>
        <translation>只显示包含关键字的行</translation>
    </message>
    <message>
        <source>Prev</source>
        <translation>上一个</translation>
    </message>
    <message>
        <source>Previous match (Shift+F3)</source>
        <translation>上一个匹配 (Shift+F3)</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>下一个</translation>
    </message>
    <message>
        <source>Next match (F3)</source>
        <translation>下一个匹配 (F3)</translation>
    </message>
    <message>
        <source>Close (Esc)</source>
        <translation>关闭 (Esc)</translation>
    </message>
</context>
<context>
    <name>RecordCommand</name>
    <message>
        <source>Records what one or more connections receive and send into a .vlmlog file.</source>
        <translation>将一个或多个连接收发的数据录制到 .vlmlog 文件。</translation>
    </message>
    <message>
        <source>A connection to record; give several to record them together.</source>
        <translation>要录制的连接；给出多个则一起录制。</translation>
    </message>
    <message>
        <source>The recording file to write.</source>
        <translation>要写入的录制文件。</translation>
    </message>
    <message>
        <source>Name at least one connection to record.</source>
        <translation>请至少指定一个要录制的连接。</translation>
    </message>
    <message>
        <source>Give the recording file with --out FILE.vlmlog.</source>
        <translation>请用 --out FILE.vlmlog 给出录制文件。</translation>
    </message>
    <message>
        <source>Recorded %1 bytes into %2.</source>
        <translation>已将 %1 字节录制到 %2。</translation>
    </message>
</context>
<context>
    <name>RecordSessionDialog</name>
    <message>
        <source>Start with what VLM already holds from this session (%1)</source>
        <translation>从 VLM 已保存的本次会话数据开始（%1）</translation>
    </message>
    <message>
        <source>Record Session</source>
        <translation>录制会话</translation>
    </message>
    <message>
        <source>never</source>
        <translation>从不</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>Start a new file every %1 MB</source>
        <translation>每 %1 MB 开始一个新文件</translation>
    </message>
    <message>
        <source>Start Recording</source>
        <translation>开始录制</translation>
    </message>
    <message>
        <source>File:</source>
        <translation>文件：</translation>
    </message>
    <message>
        <source>VLM recordings (*.vlmlog)</source>
        <translation>VLM 录制文件 (*.vlmlog)</translation>
    </message>
    <message>
        <source>This replaces an earlier recording:
%1

Replace it?</source>
        <translation>这将替换先前的录制：
%1

要替换吗？</translation>
    </message>
</context>
<context>
    <name>RecordingFile</name>
    <message>
        <source>Give the recording file.</source>
        <translation>请给出录制文件。</translation>
    </message>
    <message>
        <source>Could not read %1: %2</source>
        <translation>无法读取 %1：%2</translation>
    </message>
    <message>
        <source>%1 is not a recording: none of its lines is a recording line.</source>
        <translation>%1 不是录制文件：其中没有任何一行是录制行。</translation>
    </message>
    <message>
        <source>The recording has no port &quot;%1&quot;; its ports are: %2.</source>
        <translation>录制中没有端口“%1”；其端口为：%2。</translation>
    </message>
    <message>
        <source>none</source>
        <translation>无</translation>
    </message>
</context>
<context>
    <name>RelayConnector</name>
    <message>
        <source>Live Relay needs the online features, which are off. Turn them on under Help &gt; Privacy and Online Features...</source>
        <translation>Live Relay 需要在线功能，但在线功能已关闭。请在“帮助 &gt; 隐私与在线功能...”中开启。</translation>
    </message>
    <message>
        <source>No remote port has been chosen for this connection yet.</source>
        <translation>此连接尚未选择远程端口。</translation>
    </message>
    <message>
        <source>That does not look like an invite code.</source>
        <translation>这看起来不像邀请码。</translation>
    </message>
    <message>
        <source>The relay could not be opened.</source>
        <translation>无法打开中继。</translation>
    </message>
    <message>
        <source>That computer is no longer bound to this account.</source>
        <translation>该计算机已不再绑定到此账户。</translation>
    </message>
    <message>
        <source>%1 is offline.</source>
        <translation>%1 离线。</translation>
    </message>
    <message>
        <source>%1 no longer shares a port called &quot;%2&quot;. Choose it again.</source>
        <translation>%1 不再共享名为“%2”的端口。请重新选择。</translation>
    </message>
    <message>
        <source>The server did not return a relay ticket.</source>
        <translation>服务器没有返回中继票据。</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1（%2）</translation>
    </message>
</context>
<context>
    <name>RelayController</name>
    <message>
        <source>Live Relay could not change the port&apos;s settings: %1</source>
        <translation>Live Relay 无法更改端口设置：%1</translation>
    </message>
    <message>
        <source>the shared port was closed</source>
        <translation>共享的端口已关闭</translation>
    </message>
</context>
<context>
    <name>RelayDialer</name>
    <message>
        <source>Live Relay needs a cloud account: sign in first.</source>
        <translation>Live Relay 需要云账户：请先登录。</translation>
    </message>
    <message>
        <source>Live Relay needs a signed-in cloud account. Sign in under Cloud &gt; Account first.</source>
        <translation>Live Relay 需要已登录的云账户。请先在“云 &gt; 账户”中登录。</translation>
    </message>
</context>
<context>
    <name>RelaySocket</name>
    <message>
        <source>Missing relay address or ticket.</source>
        <translation>缺少中继地址或票据。</translation>
    </message>
    <message>
        <source>The remote computer does not allow Live Relay on that port.</source>
        <translation>远程计算机不允许在该端口上使用 Live Relay。</translation>
    </message>
    <message>
        <source>The remote port already has a relay session.</source>
        <translation>远程端口已有一个中继会话。</translation>
    </message>
    <message>
        <source>The remote computer&apos;s ports changed. Choose the port again.</source>
        <translation>远程计算机的端口已变化。请重新选择端口。</translation>
    </message>
    <message>
        <source>The remote computer declined the relay.</source>
        <translation>远程计算机拒绝了中继。</translation>
    </message>
    <message>
        <source>The remote computer declined the relay (%1).</source>
        <translation>远程计算机拒绝了中继（%1）。</translation>
    </message>
    <message>
        <source>The relay is rate limited to %1 bytes per second.</source>
        <translation>中继速率被限制为每秒 %1 字节。</translation>
    </message>
    <message>
        <source>The remote end disconnected.</source>
        <translation>远端已断开连接。</translation>
    </message>
    <message>
        <source>The monthly cloud traffic quota is exhausted.</source>
        <translation>本月云流量配额已用完。</translation>
    </message>
    <message>
        <source>The server closed the relay.</source>
        <translation>服务器关闭了中继。</translation>
    </message>
    <message>
        <source>The relay gateway could not be reached.</source>
        <translation>无法连接到中继网关。</translation>
    </message>
    <message>
        <source>The relay gateway could not be reached: %1</source>
        <translation>无法连接到中继网关：%1</translation>
    </message>
    <message>
        <source>The relay connection was closed (code %1).</source>
        <translation>中继连接已关闭（代码 %1）。</translation>
    </message>
    <message>
        <source>The remote computer did not join the relay. Check that it is online and that Live Relay is allowed on that port.</source>
        <translation>远程计算机没有加入中继。请检查它是否在线，以及是否允许在该端口上使用 Live Relay。</translation>
    </message>
</context>
<context>
    <name>RelayTargetDialog</name>
    <message>
        <source>Select a Remote Serial Port</source>
        <translation>选择远程串口</translation>
    </message>
    <message>
        <source>Join with an invite code</source>
        <translation>使用邀请码加入</translation>
    </message>
    <message>
        <source>XXXX-XXXX-XXXX or the invite link</source>
        <translation>XXXX-XXXX-XXXX 或邀请链接</translation>
    </message>
    <message>
        <source>The name the host will see</source>
        <translation>主机将看到的名称</translation>
    </message>
    <message>
        <source>Invite code</source>
        <translation>邀请码</translation>
    </message>
    <message>
        <source>Your name</source>
        <translation>你的名字</translation>
    </message>
    <message>
        <source>Passcode</source>
        <translation>访问密码</translation>
    </message>
    <message>
        <source>Or choose one of your own devices</source>
        <translation>或选择你自己的设备</translation>
    </message>
    <message>
        <source>Device / Port</source>
        <translation>设备 / 端口</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Sign in to see your own devices.</source>
        <translation>登录后可查看你自己的设备。</translation>
    </message>
    <message>
        <source>Looking for your devices…</source>
        <translation>正在查找你的设备…</translation>
    </message>
    <message>
        <source>Waiting for the device to report its ports…</source>
        <translation>正在等待设备报告其端口…</translation>
    </message>
    <message>
        <source>Online</source>
        <translation>在线</translation>
    </message>
    <message>
        <source>Offline</source>
        <translation>离线</translation>
    </message>
    <message>
        <source>In use</source>
        <translation>使用中</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>空闲</translation>
    </message>
    <message>
        <source>No other computer of this account shares a port.</source>
        <translation>此账户没有其他计算机共享端口。</translation>
    </message>
    <message>
        <source>That does not look like an invite code.</source>
        <translation>这看起来不像邀请码。</translation>
    </message>
    <message>
        <source>Checking the code…</source>
        <translation>正在检查邀请码…</translation>
    </message>
    <message>
        <source>Too many tries. Wait a minute.</source>
        <translation>尝试次数过多。请等待一分钟。</translation>
    </message>
    <message>
        <source>That code is not valid or has expired.</source>
        <translation>该邀请码无效或已过期。</translation>
    </message>
    <message>
        <source>%1 — the host is offline right now.</source>
        <translation>%1 — 主机现在离线。</translation>
    </message>
    <message>
        <source>%1 — someone is already connected to that port.</source>
        <translation>%1 — 已有人连接到该端口。</translation>
    </message>
    <message>
        <source>%1 — ready.</source>
        <translation>%1 — 就绪。</translation>
    </message>
    <message>
        <source>Enter an invite code or choose a port.</source>
        <translation>请输入邀请码或选择一个端口。</translation>
    </message>
</context>
<context>
    <name>ReplayCommand</name>
    <message>
        <source>Plays what a recorded port received into a connection.</source>
        <translation>将录制端口收到的数据回放到一个连接中。</translation>
    </message>
    <message>
        <source>The recording.</source>
        <translation>录制文件。</translation>
    </message>
    <message>
        <source>The recorded port to play.</source>
        <translation>要回放的录制端口。</translation>
    </message>
    <message>
        <source>The connection to play into.</source>
        <translation>回放的目标连接。</translation>
    </message>
    <message>
        <source>Plays this many times faster than recorded.</source>
        <translation>以录制速度的这一倍数回放。</translation>
    </message>
    <message>
        <source>Plays as fast as the connection takes it.</source>
        <translation>以连接能接受的最快速度回放。</translation>
    </message>
    <message>
        <source>Waits for the recorded request before each response.</source>
        <translation>每次应答前先等待录制中的请求到达。</translation>
    </message>
    <message>
        <source>Give the recorded port with --port ID and the connection with --to URL.</source>
        <translation>请用 --port ID 给出录制端口，用 --to URL 给出连接。</translation>
    </message>
    <message>
        <source>Give either --speed X or --fastest.</source>
        <translation>请给出 --speed X 或 --fastest 之一。</translation>
    </message>
    <message>
        <source>--speed %1: give a factor above 0, such as 0.5 or 10.</source>
        <translation>--speed %1：请给出大于 0 的倍数，例如 0.5 或 10。</translation>
    </message>
    <message>
        <source>Could not read the recording again.</source>
        <translation>无法再次读取该录制文件。</translation>
    </message>
    <message>
        <source>%1 did not take the recorded bytes.</source>
        <translation>%1 未接受录制的字节。</translation>
    </message>
    <message>
        <source>Played %1 bytes into %2.</source>
        <translation>已向 %2 回放 %1 字节。</translation>
    </message>
</context>
<context>
    <name>ReplayDocument</name>
    <message>
        <source>Could not open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
    <message>
        <source>Untitled</source>
        <translation>未命名</translation>
    </message>
    <message>
        <source>This replay is not saved to a file yet; save a copy to keep your bookmarks.</source>
        <translation>此回放尚未保存到文件；请保存副本以保留书签。</translation>
    </message>
    <message>
        <source>This file is still being recorded; save a copy to keep your bookmarks.</source>
        <translation>此文件仍在录制中；请保存副本以保留书签。</translation>
    </message>
    <message>
        <source>%1 is read-only; save a copy to keep your bookmarks.</source>
        <translation>%1 是只读的；请保存副本以保留书签。</translation>
    </message>
    <message>
        <source>Could not save the bookmarks to %1: %2</source>
        <translation>无法将书签保存到 %1：%2</translation>
    </message>
    <message>
        <source>Could not save %1: %2</source>
        <translation>无法保存 %1：%2</translation>
    </message>
    <message>
        <source>the recording cannot be read</source>
        <translation>无法读取录制文件</translation>
    </message>
</context>
<context>
    <name>ReplayPortView</name>
    <message>
        <source>View</source>
        <translation>视图</translation>
    </message>
    <message>
        <source>Received</source>
        <translation>接收</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Timestamps</source>
        <translation>时间戳</translation>
    </message>
    <message>
        <source>Show Sent Data</source>
        <translation>显示发送数据</translation>
    </message>
    <message>
        <source>Plot</source>
        <translation>绘图</translation>
    </message>
    <message>
        <source>Protocol Decode</source>
        <translation>协议解析</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>放大</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>缩小</translation>
    </message>
    <message>
        <source>Reset Zoom</source>
        <translation>重置缩放</translation>
    </message>
</context>
<context>
    <name>ReplayQuery</name>
    <message>
        <source>Type what to find.</source>
        <translation>请输入要查找的内容。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not hex: use byte pairs such as 48 65.</source>
        <translation>“%1”不是十六进制：请使用字节对，例如 48 65。</translation>
    </message>
</context>
<context>
    <name>ReplayTimeline</name>
    <message>
        <source>%1 — %2</source>
        <translation>%1 — %2</translation>
    </message>
</context>
<context>
    <name>ReplayWindow</name>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Reading %1 was cancelled.</source>
        <translation>已取消读取 %1。</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>播放</translation>
    </message>
    <message>
        <source>Step Forward</source>
        <translation>单步前进</translation>
    </message>
    <message>
        <source>Step Back</source>
        <translation>单步后退</translation>
    </message>
    <message>
        <source>Go to Start</source>
        <translation>转到开头</translation>
    </message>
    <message>
        <source>Go to Time...</source>
        <translation>转到时间...</translation>
    </message>
    <message>
        <source>Skip Idle Gaps</source>
        <translation>跳过空闲间隔</translation>
    </message>
    <message>
        <source>Loop Between Bookmarks</source>
        <translation>在书签之间循环</translation>
    </message>
    <message>
        <source>Find in Recording</source>
        <translation>在录制中查找</translation>
    </message>
    <message>
        <source>Save Bookmarks</source>
        <translation>保存书签</translation>
    </message>
    <message>
        <source>Save a Copy...</source>
        <translation>保存副本...</translation>
    </message>
    <message>
        <source>Reload</source>
        <translation>重新加载</translation>
    </message>
    <message>
        <source>Add Bookmark</source>
        <translation>添加书签</translation>
    </message>
    <message>
        <source>Next Bookmark</source>
        <translation>下一个书签</translation>
    </message>
    <message>
        <source>Previous Bookmark</source>
        <translation>上一个书签</translation>
    </message>
    <message>
        <source>Arrange Vertically</source>
        <translation>垂直排列</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>文件(&amp;F)</translation>
    </message>
    <message>
        <source>Open Recording...</source>
        <translation>打开录制...</translation>
    </message>
    <message>
        <source>Open Recording</source>
        <translation>打开录制</translation>
    </message>
    <message>
        <source>Recordings and session exports (*.vlmlog *.jsonl)</source>
        <translation>录制文件和会话导出 (*.vlmlog *.jsonl)</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>视图(&amp;V)</translation>
    </message>
    <message>
        <source>Ports</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>Full Screen</source>
        <translation>全屏</translation>
    </message>
    <message>
        <source>&amp;Playback</source>
        <translation>回放(&amp;P)</translation>
    </message>
    <message>
        <source>Speed</source>
        <translation>速度</translation>
    </message>
    <message>
        <source>%1x</source>
        <translation>%1x</translation>
    </message>
    <message>
        <source>Fastest</source>
        <translation>最快</translation>
    </message>
    <message>
        <source>&amp;Bookmarks</source>
        <translation>书签(&amp;B)</translation>
    </message>
    <message>
        <source>Playback</source>
        <translation>回放</translation>
    </message>
    <message>
        <source>Skip gaps longer than %1 s</source>
        <translation>跳过长于 %1 秒的间隔</translation>
    </message>
    <message>
        <source>Find in recording</source>
        <translation>在录制中查找</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Aa</source>
        <translation>Aa</translation>
    </message>
    <message>
        <source>Match case</source>
        <translation>区分大小写</translation>
    </message>
    <message>
        <source>Previous match</source>
        <translation>上一个匹配</translation>
    </message>
    <message>
        <source>Next match</source>
        <translation>下一个匹配</translation>
    </message>
    <message>
        <source>Bookmarks</source>
        <translation>书签</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Note</source>
        <translation>备注</translation>
    </message>
    <message>
        <source>Show Bookmark List</source>
        <translation>显示书签列表</translation>
    </message>
    <message>
        <source>This window already shows a recording.</source>
        <translation>此窗口已在显示一个录制。</translation>
    </message>
    <message numerus="yes">
        <source>Reloaded: %n event(s).</source>
        <translation>
            <numerusform>已重新加载：%n 个事件。</numerusform>
        </translation>
    </message>
    <message>
        <source>Reading %1...</source>
        <translation>正在读取 %1...</translation>
    </message>
    <message>
        <source>%1 can no longer be read.</source>
        <translation>%1 已无法读取。</translation>
    </message>
    <message>
        <source>The recording ends mid-line (VLM may have been closed abruptly); everything before it is here.</source>
        <translation>录制在一行中间结束（VLM 可能被意外关闭）；此前的内容都在这里。</translation>
    </message>
    <message>
        <source>No header: port names and encodings are unknown, so data is shown in Hex.</source>
        <translation>没有文件头：端口名称和编码未知，因此数据以十六进制显示。</translation>
    </message>
    <message numerus="yes">
        <source>%n line(s) could not be read and were skipped.</source>
        <translation>
            <numerusform>%n 行无法读取，已跳过。</numerusform>
        </translation>
    </message>
    <message>
        <source>Recorded in %1 (UTC%2)</source>
        <translation>录制于 %1（UTC%2）</translation>
    </message>
    <message>
        <source>%1%2:%3</source>
        <translation>%1%2:%3</translation>
    </message>
    <message>
        <source>Showing the first %1 of %2 ports; choose the others under View &gt; Ports.</source>
        <translation>显示 %2 个端口中的前 %1 个；可在“视图 &gt; 端口”中选择其他端口。</translation>
    </message>
    <message>
        <source>This recording continues in %1.</source>
        <translation>此录制在 %1 中继续。</translation>
    </message>
    <message>
        <source>%1[*] - Replay</source>
        <translation>%1[*] - 回放</translation>
    </message>
    <message>
        <source>Replay</source>
        <translation>回放</translation>
    </message>
    <message>
        <source>%1:%2:%3.%4</source>
        <translation>%1:%2:%3.%4</translation>
    </message>
    <message>
        <source>+%1 / %2</source>
        <translation>+%1 / %2</translation>
    </message>
    <message>
        <source>event %1 of %2</source>
        <translation>第 %1 个事件，共 %2 个</translation>
    </message>
    <message>
        <source>Bookmark %1</source>
        <translation>书签 %1</translation>
    </message>
    <message>
        <source>Bookmark %1 added at %2.</source>
        <translation>已在 %2 添加书签 %1。</translation>
    </message>
    <message>
        <source>No more bookmarks.</source>
        <translation>没有更多书签。</translation>
    </message>
    <message>
        <source>No earlier bookmark.</source>
        <translation>没有更早的书签。</translation>
    </message>
    <message>
        <source>Select one bookmark, or two, in the list to loop between.</source>
        <translation>请在列表中选择一个或两个书签以在其间循环。</translation>
    </message>
    <message>
        <source>Searching the recording...</source>
        <translation>正在搜索录制...</translation>
    </message>
    <message>
        <source>Searching the recording... %1%</source>
        <translation>正在搜索录制... %1%</translation>
    </message>
    <message>
        <source>Found in bookmark &quot;%1&quot;.</source>
        <translation>在书签“%1”中找到。</translation>
    </message>
    <message>
        <source>No more matches in the recording.</source>
        <translation>录制中没有更多匹配。</translation>
    </message>
    <message>
        <source>Match at %1 (split across lines on screen).</source>
        <translation>匹配位于 %1（在屏幕上跨行显示）。</translation>
    </message>
    <message>
        <source>Match at %1.</source>
        <translation>匹配位于 %1。</translation>
    </message>
    <message>
        <source>Bookmarks saved.</source>
        <translation>书签已保存。</translation>
    </message>
    <message>
        <source>VLM recordings (*.vlmlog);;JSON Lines (*.jsonl)</source>
        <translation>VLM 录制文件 (*.vlmlog);;JSON Lines (*.jsonl)</translation>
    </message>
    <message>
        <source>That is the file this window has open; choose another name.</source>
        <translation>这是此窗口已打开的文件；请选择其他名称。</translation>
    </message>
    <message>
        <source>Saved a copy to %1.</source>
        <translation>已将副本保存到 %1。</translation>
    </message>
    <message>
        <source>The bookmarks of this replay have changed.</source>
        <translation>此回放的书签已更改。</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>Replay cannot keep up at %1; showing as fast as it can.</source>
        <translation>回放无法以 %1 跟上；正在尽可能快地显示。</translation>
    </message>
    <message>
        <source>End of the recording.</source>
        <translation>录制结束。</translation>
    </message>
    <message>
        <source>-- Showing from %1 --</source>
        <translation>-- 从 %1 开始显示 --</translation>
    </message>
    <message>
        <source>End of the loop; Play goes round it again.</source>
        <translation>循环结束；播放将再次循环。</translation>
    </message>
    <message>
        <source>At the start of the recording.</source>
        <translation>已在录制开头。</translation>
    </message>
</context>
<context>
    <name>Rfc2217ClientSession</name>
    <message>
        <source>The remote port accepted serial parameter control.</source>
        <translation>远程端口已接受串口参数控制。</translation>
    </message>
    <message>
        <source>The remote does not support serial parameter control; continuing as plain Telnet.</source>
        <translation>远程端不支持串口参数控制，将以普通 Telnet 方式继续。</translation>
    </message>
    <message>
        <source>The remote is not an RFC 2217 server; continuing as transparent TCP. The handshake bytes may have reached the remote serial line.</source>
        <translation>远程端不是 RFC 2217 服务器，将以透明 TCP 方式继续。握手字节可能已经发送到远程串口线路上。</translation>
    </message>
    <message>
        <source>The remote port is now at %1 baud.</source>
        <translation>远程端口现在的波特率为 %1。</translation>
    </message>
</context>
<context>
    <name>Rfc2217QuickShareDialog</name>
    <message>
        <source>Serve %1 on a Local TCP Port</source>
        <translation>在本地 TCP 端口上提供 %1</translation>
    </message>
    <message>
        <source>RFC 2217 — remote clients may set the serial parameters and control lines</source>
        <translation>RFC 2217 — 远程客户端可设置串口参数和控制线</translation>
    </message>
    <message>
        <source>Raw TCP — bytes only; the serial parameters stay as set in this port&apos;s pane (socat, nc, terminal programs, drivers in raw mode)</source>
        <translation>原始 TCP — 仅传输字节；串口参数保持此端口面板中的设置（socat、nc、终端程序、原始模式的驱动）</translation>
    </message>
    <message>
        <source>Share %1 via RFC 2217</source>
        <translation>通过 RFC 2217 共享 %1</translation>
    </message>
    <message>
        <source>TCP port</source>
        <translation>TCP 端口</translation>
    </message>
    <message>
        <source>One address or subnet per line, e.g. 192.168.1.0/24</source>
        <translation>每行一个地址或子网，例如 192.168.1.0/24</translation>
    </message>
    <message>
        <source>Restrict to specific addresses / subnets</source>
        <translation>仅限特定地址/子网</translation>
    </message>
    <message>
        <source>Unless you restrict it below, any computer that can reach this one on that TCP port can use %1, including changing its serial settings and DTR/RTS.</source>
        <translation>除非在下方加以限制，任何能通过该 TCP 端口访问本机的计算机都可以使用 %1，包括更改其串口参数以及 DTR/RTS。</translation>
    </message>
    <message>
        <source>Unless you restrict it below, any computer that can reach this one on that TCP port can use %1.</source>
        <translation>除非在下方加以限制，任何能通过该 TCP 端口访问本机的计算机都可以使用 %1。</translation>
    </message>
</context>
<context>
    <name>RunScriptCommand</name>
    <message>
        <source>Runs a Lua script on the port; exit 0 when it passes.</source>
        <translation>在端口上运行 Lua 脚本；通过时退出码为 0。</translation>
    </message>
    <message>
        <source>The connection (leave out with --project and --port).</source>
        <translation>连接（使用 --project 和 --port 时省略）。</translation>
    </message>
    <message>
        <source>The script file.</source>
        <translation>脚本文件。</translation>
    </message>
    <message>
        <source>A script of the project&apos;s library, by name.</source>
        <translation>项目库中的脚本，按名称指定。</translation>
    </message>
    <message>
        <source>Writes a JUnit XML report to FILE.</source>
        <translation>将 JUnit XML 报告写入 FILE。</translation>
    </message>
    <message>
        <source>Stops the script after SEC seconds.</source>
        <translation>SEC 秒后停止脚本。</translation>
    </message>
    <message>
        <source>One JSON object per event.</source>
        <translation>每个事件一个 JSON 对象。</translation>
    </message>
    <message>
        <source>Give the connection and either a script file or --script NAME.</source>
        <translation>请给出连接，以及脚本文件或 --script NAME 之一。</translation>
    </message>
    <message>
        <source>--timeout %1: give seconds, more than 0.</source>
        <translation>--timeout %1：请给出大于 0 的秒数。</translation>
    </message>
    <message>
        <source>The project has no script called &quot;%1&quot;.</source>
        <translation>项目中没有名为“%1”的脚本。</translation>
    </message>
    <message>
        <source>%1, line %2: %3</source>
        <translation>%1，第 %2 行：%3</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1：%2</translation>
    </message>
    <message>
        <source>there is no command of that name in the command library</source>
        <translation>命令库中没有这个名称的命令</translation>
    </message>
    <message>
        <source>timed out after %1 s</source>
        <translation>%1 秒后超时</translation>
    </message>
    <message>
        <source>%1 did not start: %2</source>
        <translation>%1 未启动：%2</translation>
    </message>
    <message>
        <source>%1 (line %2)</source>
        <translation>%1（第 %2 行）</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
</context>
<context>
    <name>RunSequenceCommand</name>
    <message>
        <source>Runs a sequence of a project&apos;s command library; exit 0 when it passes.</source>
        <translation>运行项目命令库中的序列；通过时退出码为 0。</translation>
    </message>
    <message>
        <source>The connection (leave out to use the project&apos;s port).</source>
        <translation>连接（省略则使用项目的端口）。</translation>
    </message>
    <message>
        <source>The sequence, by name.</source>
        <translation>序列，按名称指定。</translation>
    </message>
    <message>
        <source>Writes a JUnit XML report to FILE.</source>
        <translation>将 JUnit XML 报告写入 FILE。</translation>
    </message>
    <message>
        <source>Writes the sequence report to FILE (.json or .txt).</source>
        <translation>将序列报告写入 FILE（.json 或 .txt）。</translation>
    </message>
    <message>
        <source>One JSON object per event.</source>
        <translation>每个事件一个 JSON 对象。</translation>
    </message>
    <message>
        <source>Give one connection.</source>
        <translation>请只给出一个连接。</translation>
    </message>
    <message>
        <source>Name the sequence with --sequence NAME.</source>
        <translation>请用 --sequence NAME 指定序列。</translation>
    </message>
    <message>
        <source>The project has no sequences.</source>
        <translation>项目中没有序列。</translation>
    </message>
    <message>
        <source>The project has no sequence called &quot;%1&quot;; it has: %2.</source>
        <translation>项目中没有名为“%1”的序列；现有序列：%2。</translation>
    </message>
    <message>
        <source>%1 did not start: %2</source>
        <translation>%1 未启动：%2</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
</context>
<context>
    <name>ScriptApiReference</name>
    <message>
        <source>Sends raw bytes and waits until the port took them. Unread received bytes are dropped first, unless options.keepRx is true.</source>
        <translation>发送原始字节，并等待端口接收。除非 options.keepRx 为 true，否则会先丢弃尚未读取的接收字节。</translation>
    </message>
    <message>
        <source>Sends bytes written as pairs of hex digits.</source>
        <translation>发送以两位一组的十六进制数字表示的字节。</translation>
    </message>
    <message>
        <source>Sends text with the port&apos;s send encoding, line ending and checksum.</source>
        <translation>按端口的发送编码、换行符和校验发送文本。</translation>
    </message>
    <message>
        <source>Sends bytes followed by a line ending, CR LF unless one is given.</source>
        <translation>发送字节并追加换行符，未指定时为 CR LF。</translation>
    </message>
    <message>
        <source>Sends a command of the project&apos;s command library, found by its name.</source>
        <translation>按名称查找并发送项目命令库中的命令。</translation>
    </message>
    <message>
        <source>Waits for the text in the received data and fails the run on timeout. Timeouts are in ms, 1000 by default, 0 waits for ever.</source>
        <translation>等待接收数据中出现该文本，超时则运行失败。超时以毫秒计，默认 1000，0 表示无限等待。</translation>
    </message>
    <message>
        <source>Waits for bytes written in hex; ?? stands for any byte.</source>
        <translation>等待以十六进制表示的字节；?? 代表任意字节。</translation>
    </message>
    <message>
        <source>Waits for a match of a regular expression over the received bytes.</source>
        <translation>等待接收字节中出现与正则表达式匹配的内容。</translation>
    </message>
    <message>
        <source>Waits for whichever of several texts comes first.</source>
        <translation>等待多个文本中最先出现的那个。</translation>
    </message>
    <message>
        <source>Like expect, but gives nil on timeout.</source>
        <translation>与 expect 相同，但超时返回 nil。</translation>
    </message>
    <message>
        <source>Like expectHex, but gives nil on timeout.</source>
        <translation>与 expectHex 相同，但超时返回 nil。</translation>
    </message>
    <message>
        <source>Like expectRegex, but gives nil on timeout.</source>
        <translation>与 expectRegex 相同，但超时返回 nil。</translation>
    </message>
    <message>
        <source>Like expectAny, but gives nil on timeout.</source>
        <translation>与 expectAny 相同，但超时返回 nil。</translation>
    </message>
    <message>
        <source>Waits for exactly count bytes (1 to 65536); on timeout gives nil and leaves the bytes unread.</source>
        <translation>等待恰好 count 个字节（1 到 65536）；超时返回 nil，已收到的字节保持未读。</translation>
    </message>
    <message>
        <source>Waits for a line ended by LF and gives it without its line ending.</source>
        <translation>等待以 LF 结尾的一行，返回时不含行尾。</translation>
    </message>
    <message>
        <source>Takes all unread received bytes at once; never waits.</source>
        <translation>一次取走所有未读的接收字节；从不等待。</translation>
    </message>
    <message>
        <source>Drops all unread received bytes.</source>
        <translation>丢弃所有未读的接收字节。</translation>
    </message>
    <message>
        <source>Pauses the script for 0 to 86400000 ms.</source>
        <translation>暂停脚本 0 到 86400000 毫秒。</translation>
    </message>
    <message>
        <source>Waits until the run is stopped while onReceive handles the data; never returns.</source>
        <translation>一直等待到运行被停止，期间由 onReceive 处理数据；不会返回。</translation>
    </message>
    <message>
        <source>Calls the function with (bytes, source) for each piece of received data; nil removes it.</source>
        <translation>每收到一段数据，就以 (bytes, source) 调用该函数；传入 nil 则取消。</translation>
    </message>
    <message>
        <source>Calls the function with (how, why) when the run ends: &quot;passed&quot;, &quot;failed&quot; or &quot;stopped&quot;.</source>
        <translation>运行结束时以 (how, why) 调用该函数：how 为 &quot;passed&quot;、&quot;failed&quot; 或 &quot;stopped&quot;。</translation>
    </message>
    <message>
        <source>Writes the values to the script output.</source>
        <translation>将这些值写到脚本输出。</translation>
    </message>
    <message>
        <source>Writes the values to the script output and to the port&apos;s receive view.</source>
        <translation>将这些值写到脚本输出和端口的接收区。</translation>
    </message>
    <message>
        <source>Ends the run as failed, with the value as the reason; never returns.</source>
        <translation>以该值为原因结束运行并判为失败；不会返回。</translation>
    </message>
    <message>
        <source>Milliseconds since the run began.</source>
        <translation>自运行开始以来的毫秒数。</translation>
    </message>
    <message>
        <source>The local time as HH:mm:ss.zzz.</source>
        <translation>本地时间，格式为 HH:mm:ss.zzz。</translation>
    </message>
    <message>
        <source>The bytes as hex pairs, such as &quot;01 0A FF&quot;.</source>
        <translation>以十六进制字节对表示的字节，例如 &quot;01 0A FF&quot;。</translation>
    </message>
    <message>
        <source>The bytes that hex pairs stand for.</source>
        <translation>十六进制字节对所表示的字节。</translation>
    </message>
    <message>
        <source>The value of a named checksum, such as &quot;crc16modbus&quot;, &quot;crc32&quot; or &quot;sum8&quot;.</source>
        <translation>指定名称的校验值，例如 &quot;crc16modbus&quot;、&quot;crc32&quot; 或 &quot;sum8&quot;。</translation>
    </message>
    <message>
        <source>The bytes with their checksum behind them, low byte first unless order is &quot;be&quot;.</source>
        <translation>在字节后附加其校验值，除非 order 为 &quot;be&quot;，否则低字节在前。</translation>
    </message>
    <message>
        <source>Whether the frame ends in the right checksum of the bytes before it.</source>
        <translation>帧末尾是否为其前面字节的正确校验值。</translation>
    </message>
    <message>
        <source>Matches a regular expression against a string, without waiting.</source>
        <translation>对字符串进行正则匹配，不等待。</translation>
    </message>
    <message>
        <source>UTF-8 text in the port&apos;s send encoding.</source>
        <translation>将 UTF-8 文本转换为端口的发送编码。</translation>
    </message>
    <message>
        <source>Bytes in the port&apos;s receive encoding, as UTF-8 text.</source>
        <translation>将端口接收编码的字节转换为 UTF-8 文本。</translation>
    </message>
    <message>
        <source>Lua API Reference</source>
        <translation>Lua API 参考</translation>
    </message>
    <message>
        <source>A script runs on one port. Besides Lua&apos;s base, string, table, math and utf8 libraries it can call the functions below. Strings are byte strings; [brackets] mark optional arguments.</source>
        <translation>脚本在一个端口上运行。除 Lua 的 base、string、table、math 和 utf8 库之外，还可以调用下列函数。字符串均为字节串；[方括号] 表示可选参数。</translation>
    </message>
    <message>
        <source>Functions that wait (sends, expect, read, sleep) cannot be called inside onReceive or onStop. The read-only object port has the fields port.name and port.mode.</source>
        <translation>会等待的函数（发送、expect、read、sleep）不能在 onReceive 或 onStop 中调用。只读对象 port 有 port.name 和 port.mode 两个字段。</translation>
    </message>
    <message>
        <source>Function</source>
        <translation>函数</translation>
    </message>
    <message>
        <source>Results</source>
        <translation>返回值</translation>
    </message>
    <message>
        <source>What it does</source>
        <translation>作用</translation>
    </message>
</context>
<context>
    <name>ScriptApiReferenceDialog</name>
    <message>
        <source>Lua API Reference</source>
        <translation>Lua API 参考</translation>
    </message>
    <message>
        <source>Function name, e.g. expect</source>
        <translation>函数名，例如 expect</translation>
    </message>
    <message>
        <source>Find:</source>
        <translation>查找：</translation>
    </message>
</context>
<context>
    <name>ScriptEditor</name>
    <message>
        <source>Undo</source>
        <translation>撤销</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>重做</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>剪切</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>复制</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>粘贴</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>全选</translation>
    </message>
</context>
<context>
    <name>ScriptEngine</name>
    <message>
        <source>This port also has Auto Reply rules switched on: the device may get two answers to one request.</source>
        <translation>此端口同时启用了自动应答规则：设备的一次请求可能会收到两个应答。</translation>
    </message>
    <message>
        <source>A script is already running.</source>
        <translation>已有脚本正在运行。</translation>
    </message>
    <message>
        <source>The script is larger than %1 KB.</source>
        <translation>脚本大小超过 %1 KB。</translation>
    </message>
    <message>
        <source>Too much output; lines left out: %1</source>
        <translation>输出过多，省略的行数：%1</translation>
    </message>
    <message>
        <source>Names are case-sensitive: did you mean %1?</source>
        <translation>名称区分大小写：你是不是想写 %1？</translation>
    </message>
    <message>
        <source>Perhaps a typo: did you mean %1?</source>
        <translation>可能是拼写错误：你是不是想写 %1？</translation>
    </message>
    <message>
        <source>Lua writes elif as elseif.</source>
        <translation>Lua 中的 elif 要写作 elseif。</translation>
    </message>
    <message>
        <source>This line has the full-width character &quot;%1&quot;, typed with a Chinese input method. Switch to the English input method and type it again.</source>
        <translation>此行含有全角字符 &quot;%1&quot;，这是用中文输入法输入的。请切换到英文输入法后重新输入。</translation>
    </message>
    <message>
        <source>This line has a full-width character (a Chinese comma, quote, bracket or space). Switch to the English input method and type it again.</source>
        <translation>此行含有全角字符（中文逗号、引号、括号或空格）。请切换到英文输入法后重新输入。</translation>
    </message>
    <message>
        <source>Lua&apos;s booleans are lower case, true and false, and &apos;no value&apos; is nil.</source>
        <translation>Lua 的布尔值是小写的 true 和 false，“无值”写作 nil。</translation>
    </message>
    <message>
        <source>It has no value yet. Check the spelling (names are case-sensitive), or declare it at the top of the script with %1 = nil, or use local.</source>
        <translation>它还没有值。请检查拼写（名称区分大小写），或在脚本开头用 %1 = nil 声明它，或者使用 local。</translation>
    </message>
    <message>
        <source>sleep() and timeouts take whole milliseconds: write 1500, not 1.5.</source>
        <translation>sleep() 和超时参数须为整数毫秒：应写 1500，而不是 1.5。</translation>
    </message>
    <message>
        <source>A function is called that does not exist: check the spelling of its name, and that it is defined above this line.</source>
        <translation>调用了一个不存在的函数：请检查函数名的拼写，并确认它已在此行之前定义。</translation>
    </message>
    <message>
        <source>Text is joined with .., not +: &quot;a&quot; .. &quot;b&quot;.</source>
        <translation>文本用 .. 连接，而不是 +：&quot;a&quot; .. &quot;b&quot;。</translation>
    </message>
    <message>
        <source>A value is nil. The usual causes are a tryExpect or read that timed out, or a misspelt variable name.</source>
        <translation>某个值为 nil。常见原因是 tryExpect 或 read 超时，或者变量名拼写错误。</translation>
    </message>
    <message>
        <source>A backslash in a string must start an escape such as \r, \n or \x0D. Write regular expressions as long strings, [[like this]], so their backslashes are left alone.</source>
        <translation>字符串中的反斜杠必须构成转义序列，如 \r、\n 或 \x0D。正则表达式请写成长字符串，如 [[像这样]]，这样其中的反斜杠会原样保留。</translation>
    </message>
    <message>
        <source>Lua comments start with --, not #.</source>
        <translation>Lua 注释以 -- 开头，而不是 #。</translation>
    </message>
    <message>
        <source>Lua writes &quot;not equal&quot; as ~=, not !=.</source>
        <translation>Lua 中“不等于”写作 ~=，而不是 !=。</translation>
    </message>
    <message>
        <source>The items of a table are separated by commas: {1, 2, 3}.</source>
        <translation>表的元素之间用英文逗号分隔：{1, 2, 3}。</translation>
    </message>
    <message>
        <source>An if, for, while or function is missing its end.</source>
        <translation>某个 if、for、while 或 function 缺少对应的 end。</translation>
    </message>
    <message>
        <source>Lua read a name where it expected a statement: check the spelling, and that a function call has its parentheses.</source>
        <translation>Lua 在应为语句的位置读到了一个名称：请检查拼写，并确认函数调用带有括号。</translation>
    </message>
    <message>
        <source>Lua has no +=, -= or ++: write x = x + 1.</source>
        <translation>Lua 没有 +=、-= 或 ++：请写成 x = x + 1。</translation>
    </message>
</context>
<context>
    <name>ScriptEngine::Impl</name>
    <message>
        <source>onReceive fell behind; bytes dropped: %1</source>
        <translation>onReceive 处理不及，已丢弃字节数：%1</translation>
    </message>
    <message>
        <source>called from line %1</source>
        <translation>调用自第 %1 行</translation>
    </message>
    <message>
        <source>%1 ran for more than %L2 instructions without returning</source>
        <translation>%1 执行超过 %L2 条指令仍未返回</translation>
    </message>
    <message>
        <source>onStop: %1</source>
        <translation>onStop: %1</translation>
    </message>
    <message>
        <source>(%1 ms)</source>
        <translation>(%1 ms)</translation>
    </message>
    <message>
        <source>(no time limit)</source>
        <translation>(不限时)</translation>
    </message>
    <message>
        <source>sending</source>
        <translation>发送中</translation>
    </message>
    <message>
        <source>sleep %1 ms</source>
        <translation>sleep %1 ms</translation>
    </message>
    <message>
        <source>read(%1)</source>
        <translation>read(%1)</translation>
    </message>
    <message>
        <source>readLine %1</source>
        <translation>readLine %1</translation>
    </message>
    <message>
        <source>idle, answering with onReceive</source>
        <translation>空闲，由 onReceive 应答</translation>
    </message>
    <message>
        <source>idle</source>
        <translation>空闲</translation>
    </message>
    <message>
        <source>%1 %2 %3</source>
        <translation>%1 %2 %3</translation>
    </message>
    <message>
        <source>%1 held the window for more than %2 ms without returning</source>
        <translation>%1 占用窗口超过 %2 毫秒仍未返回</translation>
    </message>
</context>
<context>
    <name>ScriptLibrary</name>
    <message>
        <source>AT command regression</source>
        <translation>AT 命令回归测试</translation>
    </message>
    <message>
        <source>Send AT commands, check the replies, print a summary</source>
        <translation>发送 AT 命令，检查应答，打印汇总</translation>
    </message>
    <message>
        <source>Modbus RTU slave</source>
        <translation>Modbus RTU 从站</translation>
    </message>
    <message>
        <source>Answer Modbus FC03 reads and FC06 writes from a register table</source>
        <translation>用寄存器表应答 Modbus FC03 读和 FC06 写</translation>
    </message>
    <message>
        <source>Answer PING with PONG</source>
        <translation>用 PONG 应答 PING</translation>
    </message>
    <message>
        <source>The simplest onReceive: play a device that answers</source>
        <translation>最简单的 onReceive：扮演一个会应答的设备</translation>
    </message>
</context>
<context>
    <name>ScriptLibraryCodec</name>
    <message>
        <source>Script %1</source>
        <translation>脚本 %1</translation>
    </message>
    <message>
        <source>Cannot open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
    <message>
        <source>%1 is larger than %2 KB, the most a script can be.</source>
        <translation>%1 大于 %2 KB，这是脚本的最大长度。</translation>
    </message>
    <message>
        <source>Imported</source>
        <translation>导入的脚本</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>%1 is not UTF-8 text. Save it with the UTF-8 encoding and import it again.</source>
        <translation>%1 不是 UTF-8 文本。请用 UTF-8 编码保存后再导入。</translation>
    </message>
</context>
<context>
    <name>ScriptPortLink</name>
    <message>
        <source>The connection is not open.</source>
        <translation>连接未打开。</translation>
    </message>
    <message>
        <source>The connection did not accept the data.</source>
        <translation>连接未接受数据。</translation>
    </message>
</context>
<context>
    <name>ScriptRunner</name>
    <message>
        <source>A script is already running on this port.</source>
        <translation>此端口上已有脚本在运行。</translation>
    </message>
    <message>
        <source>A sequence is running on this port; stop it first.</source>
        <translation>此端口上正在运行序列，请先停止它。</translation>
    </message>
    <message>
        <source>Script log lines are arriving faster than %1 a second; the rest are only in the Scripts window.</source>
        <translation>脚本日志行每秒超过 %1 行；其余的只显示在脚本窗口中。</translation>
    </message>
    <message>
        <source>Script &quot;%1&quot; passed in %2 s</source>
        <translation>脚本“%1”通过，用时 %2 秒</translation>
    </message>
    <message>
        <source>Script &quot;%1&quot; stopped after %2 s: %3</source>
        <translation>脚本“%1”在 %2 秒后停止：%3</translation>
    </message>
    <message>
        <source>Script &quot;%1&quot; failed at line %2 after %3 s: %4</source>
        <translation>脚本“%1”在 %3 秒后于第 %2 行失败：%4</translation>
    </message>
    <message>
        <source>Script &quot;%1&quot; failed after %2 s: %3</source>
        <translation>脚本“%1”在 %2 秒后失败：%3</translation>
    </message>
</context>
<context>
    <name>ScriptWindow</name>
    <message>
        <source>Scripts</source>
        <translation>脚本</translation>
    </message>
    <message>
        <source>Script</source>
        <translation>脚本</translation>
    </message>
    <message>
        <source>Run on:</source>
        <translation>运行于：</translation>
    </message>
    <message>
        <source>The port the script sends to and reads from</source>
        <translation>脚本发送和读取数据的端口</translation>
    </message>
    <message>
        <source>Run</source>
        <translation>运行</translation>
    </message>
    <message>
        <source>Run the script on the chosen port (Ctrl+R)</source>
        <translation>在所选端口上运行脚本 (Ctrl+R)</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>Stop the script running on the chosen port</source>
        <translation>停止所选端口上运行的脚本</translation>
    </message>
    <message>
        <source>Check</source>
        <translation>检查</translation>
    </message>
    <message>
        <source>Check the script for syntax errors without running it</source>
        <translation>检查脚本的语法错误而不运行它</translation>
    </message>
    <message>
        <source>New</source>
        <translation>新建</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>复制副本</translation>
    </message>
    <message>
        <source>Rename...</source>
        <translation>重命名...</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Examples</source>
        <translation>示例</translation>
    </message>
    <message>
        <source>Import...</source>
        <translation>导入...</translation>
    </message>
    <message>
        <source>Export...</source>
        <translation>导出...</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清除</translation>
    </message>
    <message>
        <source>The library holds up to %1 scripts. Delete one to make room.</source>
        <translation>脚本库最多容纳 %1 个脚本。请删除一个以腾出空间。</translation>
    </message>
    <message>
        <source>New script</source>
        <translation>新脚本</translation>
    </message>
    <message>
        <source>Rename Script</source>
        <translation>重命名脚本</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>名称：</translation>
    </message>
    <message>
        <source>Delete &quot;%1&quot;? Export it first if you may want it back.</source>
        <translation>删除“%1”？如果以后可能还需要，请先导出。</translation>
    </message>
    <message>
        <source>Import Scripts</source>
        <translation>导入脚本</translation>
    </message>
    <message>
        <source>Lua scripts (*.lua)</source>
        <translation>Lua 脚本 (*.lua)</translation>
    </message>
    <message>
        <source>Export Script</source>
        <translation>导出脚本</translation>
    </message>
    <message>
        <source>Click to go to the line</source>
        <translation>单击转到该行</translation>
    </message>
    <message>
        <source>✗ line %1: %2</source>
        <translation>✗ 第 %1 行：%2</translation>
    </message>
    <message>
        <source>✗ %1</source>
        <translation>✗ %1</translation>
    </message>
    <message>
        <source>Hint: %1</source>
        <translation>提示：%1</translation>
    </message>
    <message>
        <source>── &quot;%1&quot; on %2 · %3 ──</source>
        <translation>── “%1” 于 %2 · %3 ──</translation>
    </message>
    <message>
        <source>⚠ %1</source>
        <translation>⚠ %1</translation>
    </message>
    <message>
        <source>✓ passed in %1 s</source>
        <translation>✓ 通过，用时 %1 秒</translation>
    </message>
    <message>
        <source>✗ failed at line %1 after %2 s</source>
        <translation>✗ %2 秒后于第 %1 行失败</translation>
    </message>
    <message>
        <source>✗ failed after %1 s</source>
        <translation>✗ %1 秒后失败</translation>
    </message>
    <message>
        <source>■ stopped after %1 s: %2</source>
        <translation>■ %1 秒后停止：%2</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>复制</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>全选</translation>
    </message>
    <message>
        <source>Copy All</source>
        <translation>全部复制</translation>
    </message>
    <message>
        <source>Save As...</source>
        <translation>另存为...</translation>
    </message>
    <message>
        <source>Save Output</source>
        <translation>保存输出</translation>
    </message>
    <message>
        <source>Text files (*.txt)</source>
        <translation>文本文件 (*.txt)</translation>
    </message>
    <message>
        <source>Cannot write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>✓ &quot;%1&quot;: no syntax errors.</source>
        <translation>✓ “%1”：没有语法错误。</translation>
    </message>
    <message>
        <source>There is no port to run the script on.</source>
        <translation>没有可运行脚本的端口。</translation>
    </message>
    <message>
        <source>No port</source>
        <translation>无端口</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>就绪</translation>
    </message>
    <message>
        <source>Running &quot;%1&quot; %2</source>
        <translation>正在运行“%1” %2</translation>
    </message>
    <message>
        <source>&quot;%1&quot; passed in %2 s</source>
        <translation>“%1”通过，用时 %2 秒</translation>
    </message>
    <message>
        <source>&quot;%1&quot; failed at line %2</source>
        <translation>“%1”在第 %2 行失败</translation>
    </message>
    <message>
        <source>&quot;%1&quot; failed</source>
        <translation>“%1”失败</translation>
    </message>
    <message>
        <source>&quot;%1&quot; stopped: %2</source>
        <translation>“%1”已停止：%2</translation>
    </message>
    <message>
        <source>Stop the script before closing the window?</source>
        <translation>关闭窗口前停止脚本吗？</translation>
    </message>
    <message>
        <source>Kept running, its lines stay in the port&apos;s receive view, and Tools &gt; Scripts shows it again and can stop it.</source>
        <translation>继续运行时，它的输出行保留在端口的接收视图中，“工具 &gt; 脚本”可再次显示并停止它。</translation>
    </message>
    <message>
        <source>Stop and Close</source>
        <translation>停止并关闭</translation>
    </message>
    <message>
        <source>Keep Running</source>
        <translation>继续运行</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Signal level</source>
        <translation>信号强度</translation>
    </message>
    <message>
        <source>API Reference</source>
        <translation>API 参考</translation>
    </message>
    <message>
        <source>The functions a script can call, with examples (F1)</source>
        <translation>脚本可调用的函数及示例 (F1)</translation>
    </message>
    <message>
        <source>⚠ Output is coming faster than this window shows it; lines left out: %1</source>
        <translation>⚠ 输出快于本窗口的显示速度，省略的行数：%1</translation>
    </message>
    <message>
        <source>… older output was removed; the window keeps the latest lines.</source>
        <translation>… 较早的输出已移除，窗口只保留最新的行。</translation>
    </message>
</context>
<context>
    <name>SearchCommand</name>
    <message>
        <source>Finds text or bytes in a recording, one line per hit.</source>
        <translation>在录制文件中查找文本或字节，每个匹配一行。</translation>
    </message>
    <message>
        <source>The recording.</source>
        <translation>录制文件。</translation>
    </message>
    <message>
        <source>The text to find (UTF-8).</source>
        <translation>要查找的文本（UTF-8）。</translation>
    </message>
    <message>
        <source>The bytes to find, as hex pairs.</source>
        <translation>要查找的字节，以十六进制对表示。</translation>
    </message>
    <message>
        <source>Text must match in case too.</source>
        <translation>文本须区分大小写匹配。</translation>
    </message>
    <message>
        <source>Lists only hits in this port of the recording.</source>
        <translation>只列出录制中该端口的匹配。</translation>
    </message>
    <message>
        <source>One JSON object per hit.</source>
        <translation>每个匹配输出一个 JSON 对象。</translation>
    </message>
    <message>
        <source>Give either --text T or --hex H.</source>
        <translation>请给出 --text T 或 --hex H 之一。</translation>
    </message>
    <message>
        <source>Could not read the recording again.</source>
        <translation>无法再次读取该录制文件。</translation>
    </message>
    <message>
        <source>%1  %2  event %3 at byte %4%5</source>
        <translation>%1  %2  事件 %3 第 %4 字节%5</translation>
    </message>
    <message>
        <source> (split over events)</source>
        <translation>（跨多个事件）</translation>
    </message>
    <message numerus="yes">
        <source>%n hit(s).</source>
        <translation>
            <numerusform>%n 个匹配。</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SelectionActions</name>
    <message>
        <source>Copy Selection As</source>
        <translation>将所选内容复制为</translation>
    </message>
    <message>
        <source>C Array</source>
        <translation>C 数组</translation>
    </message>
    <message>
        <source>Hex Dump</source>
        <translation>十六进制转储</translation>
    </message>
    <message>
        <source>Hex Bytes</source>
        <translation>十六进制字节</translation>
    </message>
    <message>
        <source>Save Selection As...</source>
        <translation>将所选内容另存为...</translation>
    </message>
    <message>
        <source>Part of the selection is older than VLM keeps byte-exact and was left out.</source>
        <translation>所选内容的一部分早于 VLM 按字节精确保留的范围，已被略去。</translation>
    </message>
    <message>
        <source>Whole frames were used: the text view cannot map every character to its bytes. Switch the receive view to Hex for a byte-exact selection.</source>
        <translation>已使用整帧：文本视图无法将每个字符对应到其字节。请将接收区切换为十六进制显示以按字节精确选择。</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 字节</translation>
    </message>
    <message>
        <source>The selection contains no received or sent data.</source>
        <translation>所选内容不含任何接收或发送的数据。</translation>
    </message>
    <message>
        <source>The selection is %1; copying is limited to %2. Use Save Selection As... instead.</source>
        <translation>所选内容为 %1；复制上限为 %2。请改用“将所选内容另存为...”。</translation>
    </message>
    <message numerus="yes">
        <source>Copied %n byte(s) as hex.</source>
        <translation>
            <numerusform>已将 %n 字节复制为十六进制。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Copied %n byte(s) as a hex dump.</source>
        <translation>
            <numerusform>已将 %n 字节复制为十六进制转储。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Copied %n byte(s) as a C array.</source>
        <translation>
            <numerusform>已将 %n 字节复制为 C 数组。</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SelectionSaveDialog</name>
    <message>
        <source>Save Selection</source>
        <translation>保存所选内容</translation>
    </message>
    <message numerus="yes">
        <source>%n byte(s) from %1</source>
        <translation>
            <numerusform>来自 %1 的 %n 字节</numerusform>
        </translation>
    </message>
    <message>
        <source>Binary (.bin)</source>
        <translation>二进制 (.bin)</translation>
    </message>
    <message>
        <source>Hex dump (.txt)</source>
        <translation>十六进制转储 (.txt)</translation>
    </message>
    <message>
        <source>C source (.c, .h)</source>
        <translation>C 源文件 (.c, .h)</translation>
    </message>
    <message>
        <source>Format:</source>
        <translation>格式：</translation>
    </message>
    <message>
        <source>Array name:</source>
        <translation>数组名：</translation>
    </message>
    <message>
        <source>Bytes per line:</source>
        <translation>每行字节数：</translation>
    </message>
    <message>
        <source>Include &lt;stdint.h&gt;</source>
        <translation>包含 &lt;stdint.h&gt;</translation>
    </message>
    <message>
        <source>static</source>
        <translation>static</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>#define NAME_LEN</source>
        <translation>#define NAME_LEN</translation>
    </message>
    <message>
        <source>sizeof comment</source>
        <translation>sizeof 注释</translation>
    </message>
    <message>
        <source>Length:</source>
        <translation>长度：</translation>
    </message>
    <message>
        <source>Save...</source>
        <translation>保存...</translation>
    </message>
    <message>
        <source>Binary files (*.bin)</source>
        <translation>二进制文件 (*.bin)</translation>
    </message>
    <message>
        <source>Text files (*.txt)</source>
        <translation>文本文件 (*.txt)</translation>
    </message>
    <message>
        <source>C source (*.c *.h)</source>
        <translation>C 源文件 (*.c *.h)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>所有文件 (*)</translation>
    </message>
    <message>
        <source>Could not save %1: %2</source>
        <translation>无法保存 %1：%2</translation>
    </message>
    <message>
        <source>Saved %1.</source>
        <translation>已保存 %1。</translation>
    </message>
</context>
<context>
    <name>SendCommand</name>
    <message>
        <source>Sends text, hex or a file through the send path and prints the answer.</source>
        <translation>通过发送路径发送文本、十六进制或文件，并打印应答。</translation>
    </message>
    <message>
        <source>The connection.</source>
        <translation>连接。</translation>
    </message>
    <message>
        <source>Text to send.</source>
        <translation>要发送的文本。</translation>
    </message>
    <message>
        <source>Hex pairs to send.</source>
        <translation>要发送的十六进制字节对。</translation>
    </message>
    <message>
        <source>A file to send as it is.</source>
        <translation>按原样发送的文件。</translation>
    </message>
    <message>
        <source>How long to print what comes back (default 500).</source>
        <translation>打印回传数据的时长（默认 500）。</translation>
    </message>
    <message>
        <source>Give exactly one of --text, --hex and --file.</source>
        <translation>请只给出 --text、--hex 和 --file 中的一个。</translation>
    </message>
    <message>
        <source>--wait-ms %1: give milliseconds, 0 or more.</source>
        <translation>--wait-ms %1：请给出 0 或更大的毫秒数。</translation>
    </message>
    <message>
        <source>Cannot read %1: %2</source>
        <translation>无法读取 %1：%2</translation>
    </message>
    <message>
        <source>There is nothing to send.</source>
        <translation>没有要发送的内容。</translation>
    </message>
    <message>
        <source>%1 did not take the data%2</source>
        <translation>%1 未接受数据%2</translation>
    </message>
</context>
<context>
    <name>SendOptions</name>
    <message>
        <source>The line ending appended: none, cr, lf, crlf.</source>
        <translation>追加的行尾：none、cr、lf、crlf。</translation>
    </message>
    <message>
        <source>Text escapes \r, \n, \t, \\ and \xHH become bytes.</source>
        <translation>文本转义 \r、\n、\t、\\ 和 \xHH 会变成字节。</translation>
    </message>
    <message>
        <source>A checksum appended: none, sum8, xor8, crc8, crc16modbus, crc32.</source>
        <translation>追加的校验：none、sum8、xor8、crc8、crc16modbus、crc32。</translation>
    </message>
    <message>
        <source>--eol %1: use none, cr, lf or crlf.</source>
        <translation>--eol %1：请使用 none、cr、lf 或 crlf。</translation>
    </message>
    <message>
        <source>--checksum %1: use none, sum8, xor8, crc8, crc16modbus or crc32.</source>
        <translation>--checksum %1：请使用 none、sum8、xor8、crc8、crc16modbus 或 crc32。</translation>
    </message>
</context>
<context>
    <name>SequenceBar</name>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>停止</translation>
    </message>
    <message>
        <source>Hide the result</source>
        <translation>隐藏结果</translation>
    </message>
    <message>
        <source>Sequence</source>
        <translation>序列</translation>
    </message>
    <message>
        <source>%1 · step %2/%3: %4 · %5</source>
        <translation>%1 · 第 %2/%3 步：%4 · %5</translation>
    </message>
    <message numerus="yes">
        <source>%n failed</source>
        <translation>
            <numerusform>%n 项失败</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 passed in %2</source>
        <translation>%1 通过，用时 %2</translation>
    </message>
    <message>
        <source>%1 failed at step %2 (%3): %4</source>
        <translation>%1 在第 %2 步 (%3) 失败：%4</translation>
    </message>
    <message>
        <source>%1 stopped at step %2: %3</source>
        <translation>%1 在第 %2 步停止：%3</translation>
    </message>
</context>
<context>
    <name>SequenceEngine</name>
    <message>
        <source>The sequence has no steps.</source>
        <translation>序列没有任何步骤。</translation>
    </message>
    <message>
        <source>Step %1 (%2): %3</source>
        <translation>第 %1 步 (%2)：%3</translation>
    </message>
    <message>
        <source>The command is empty.</source>
        <translation>命令为空。</translation>
    </message>
    <message>
        <source>there is no label &quot;%1&quot; above this step.</source>
        <translation>此步骤之前没有标签 &quot;%1&quot;。</translation>
    </message>
    <message>
        <source>the steps it repeats neither send, wait nor expect anything.</source>
        <translation>它所重复的步骤既不发送、不等待，也不期望任何应答。</translation>
    </message>
    <message>
        <source>no match within %1 ms</source>
        <translation>%1 ms 内无匹配</translation>
    </message>
    <message>
        <source>matched after %1 ms</source>
        <translation>%1 ms 后匹配成功</translation>
    </message>
    <message numerus="yes">
        <source>%n byte(s) sent</source>
        <translation>
            <numerusform>已发送 %n 个字节</numerusform>
        </translation>
    </message>
    <message>
        <source>the port did not accept the data</source>
        <translation>端口未接受数据</translation>
    </message>
    <message numerus="yes">
        <source>%n expectation(s) not met</source>
        <translation>
            <numerusform>%n 项期望未满足</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SequenceReport</name>
    <message>
        <source>Sequence report: &quot;%1&quot;</source>
        <translation>序列报告：&quot;%1&quot;</translation>
    </message>
    <message>
        <source>Port:</source>
        <translation>端口：</translation>
    </message>
    <message>
        <source>Started:</source>
        <translation>开始时间：</translation>
    </message>
    <message>
        <source>Duration:</source>
        <translation>耗时：</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>RUNNING</source>
        <translation>运行中</translation>
    </message>
    <message>
        <source>PASSED</source>
        <translation>通过</translation>
    </message>
    <message>
        <source>FAILED at step %1</source>
        <translation>在第 %1 步失败</translation>
    </message>
    <message>
        <source>STOPPED at step %1</source>
        <translation>在第 %1 步停止</translation>
    </message>
    <message>
        <source>Result:</source>
        <translation>结果：</translation>
    </message>
    <message>
        <source>Checks:</source>
        <translation>检查：</translation>
    </message>
    <message>
        <source>pass</source>
        <translation>通过</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>失败</translation>
    </message>
    <message>
        <source>Step</source>
        <translation>步骤</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>开始</translation>
    </message>
    <message>
        <source>Took</source>
        <translation>耗时</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>结果</translation>
    </message>
    <message>
        <source>Detail</source>
        <translation>详情</translation>
    </message>
    <message>
        <source>FAIL</source>
        <translation>失败</translation>
    </message>
    <message numerus="yes">
        <source>(%n more step execution(s) not listed)</source>
        <translation>
            <numerusform>（另有 %n 次步骤执行未列出）</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SequenceReportExport</name>
    <message>
        <source>Text files (*.txt)</source>
        <translation>文本文件 (*.txt)</translation>
    </message>
    <message>
        <source>JSON files (*.json)</source>
        <translation>JSON 文件 (*.json)</translation>
    </message>
    <message>
        <source>Could not save %1: %2</source>
        <translation>无法保存 %1：%2</translation>
    </message>
    <message>
        <source>Saved %1.</source>
        <translation>已保存 %1。</translation>
    </message>
    <message>
        <source>The focused port has not run a sequence this session.</source>
        <translation>当前端口在本次会话中尚未运行过序列。</translation>
    </message>
    <message>
        <source>Export Sequence Report</source>
        <translation>导出序列报告</translation>
    </message>
</context>
<context>
    <name>SequenceRunner</name>
    <message>
        <source>A script is running on this port; stop it first.</source>
        <translation>此端口正在运行脚本，请先停止脚本。</translation>
    </message>
    <message>
        <source>stopped by the user</source>
        <translation>被用户停止</translation>
    </message>
    <message>
        <source>the connection was lost</source>
        <translation>连接丢失</translation>
    </message>
    <message>
        <source>the connection was closed</source>
        <translation>连接已关闭</translation>
    </message>
    <message>
        <source>a file transfer took the port over</source>
        <translation>文件传输占用了该端口</translation>
    </message>
    <message>
        <source>A sequence is already running on this port.</source>
        <translation>此端口已有序列正在运行。</translation>
    </message>
    <message numerus="yes">
        <source>Sequence &quot;%1&quot; started, %n step(s)</source>
        <translation>
            <numerusform>序列 &quot;%1&quot; 已开始，共 %n 个步骤</numerusform>
        </translation>
    </message>
    <message>
        <source>Sequence &quot;%1&quot; passed in %2 s</source>
        <translation>序列 &quot;%1&quot; 通过，用时 %2 秒</translation>
    </message>
    <message>
        <source>Sequence &quot;%1&quot; failed at step %2 after %3 s: %4</source>
        <translation>序列 &quot;%1&quot; 在第 %2 步失败，用时 %3 秒：%4</translation>
    </message>
    <message>
        <source>Sequence &quot;%1&quot; stopped at step %2 after %3 s: %4</source>
        <translation>序列 &quot;%1&quot; 在第 %2 步停止，用时 %3 秒：%4</translation>
    </message>
</context>
<context>
    <name>SequenceStepDialog</name>
    <message>
        <source>Sequence Step</source>
        <translation>序列步骤</translation>
    </message>
    <message>
        <source>Send a command</source>
        <translation>发送命令</translation>
    </message>
    <message>
        <source>Wait</source>
        <translation>等待</translation>
    </message>
    <message>
        <source>Expect a reply</source>
        <translation>期望应答</translation>
    </message>
    <message>
        <source>Repeat</source>
        <translation>重复</translation>
    </message>
    <message>
        <source>Label</source>
        <translation>标签</translation>
    </message>
    <message>
        <source>Step:</source>
        <translation>步骤：</translation>
    </message>
    <message>
        <source>(type it below)</source>
        <translation>（在下方输入）</translation>
    </message>
    <message>
        <source>%1 / %2</source>
        <translation>%1 / %2</translation>
    </message>
    <message>
        <source>Copy from library:</source>
        <translation>从命令库复制：</translation>
    </message>
    <message>
        <source>Copies a library command into this step. The step keeps its own copy, so the sequence still works when it is handed over.</source>
        <translation>将命令库中的命令复制到此步骤。步骤会保留自己的副本，因此序列交给他人后仍可正常使用。</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>Pause for:</source>
        <translation>暂停时长：</translation>
    </message>
    <message>
        <source>Match:</source>
        <translation>匹配方式：</translation>
    </message>
    <message>
        <source>Pattern:</source>
        <translation>匹配内容：</translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>不限</translation>
    </message>
    <message>
        <source>Within:</source>
        <translation>时限：</translation>
    </message>
    <message>
        <source>If nothing matches in time, record the failure and go on</source>
        <translation>若超时未匹配，记录失败并继续执行</translation>
    </message>
    <message>
        <source>Looks at what the port received since the last Send step. A match uses up the bytes it covers.</source>
        <translation>检查自上一个发送步骤以来端口收到的数据。匹配成功后，被匹配的字节即被消耗。</translation>
    </message>
    <message>
        <source>The start of the sequence</source>
        <translation>序列开头</translation>
    </message>
    <message>
        <source>Label &quot;%1&quot;</source>
        <translation>标签 &quot;%1&quot;</translation>
    </message>
    <message>
        <source>Go back to:</source>
        <translation>跳回到：</translation>
    </message>
    <message>
        <source>Until stopped</source>
        <translation>直到停止</translation>
    </message>
    <message>
        <source> times in all</source>
        <translation> 次</translation>
    </message>
    <message>
        <source>Run the steps:</source>
        <translation>共执行：</translation>
    </message>
    <message>
        <source>e.g. retry</source>
        <translation>例如 retry</translation>
    </message>
    <message>
        <source>Name:</source>
        <translation>名称：</translation>
    </message>
    <message>
        <source>A place a Repeat step further down can go back to.</source>
        <translation>供后面的重复步骤跳回的位置。</translation>
    </message>
</context>
<context>
    <name>SerialPortWidget</name>
    <message>
        <source>Opened %1</source>
        <translation>已打开 %1</translation>
    </message>
    <message>
        <source>Opened %1 (%2)</source>
        <translation>已打开 %1 (%2)</translation>
    </message>
    <message>
        <source>Closed %1</source>
        <translation>已关闭 %1</translation>
    </message>
    <message>
        <source>[%L1 bytes not shown: the view could not keep up with the data rate]</source>
        <translation>[%L1 字节未显示：显示速度跟不上数据速率]</translation>
    </message>
    <message>
        <source>Error (as shown in the UI): %1</source>
        <translation>错误（界面显示）：%1</translation>
    </message>
    <message>
        <source>Serial port lost</source>
        <translation>串口已丢失</translation>
    </message>
    <message>
        <source>Serial Port %1 lost, waiting for it to come back...</source>
        <translation>串口 %1 已丢失，等待其重新出现...</translation>
    </message>
    <message>
        <source>Connection lost</source>
        <translation>连接已断开</translation>
    </message>
    <message>
        <source>Connection lost, reconnecting...</source>
        <translation>连接已断开，正在重连...</translation>
    </message>
    <message>
        <source>Live Relay ended (as shown in the UI): %1</source>
        <translation>Live Relay 已结束（界面显示）：%1</translation>
    </message>
    <message>
        <source>Live Relay ended: %1</source>
        <translation>Live Relay 已结束：%1</translation>
    </message>
    <message>
        <source>Reconnected %1</source>
        <translation>已重连 %1</translation>
    </message>
    <message>
        <source>RTS is driven by RTS/CTS flow control and cannot be set by hand.</source>
        <translation>RTS 由 RTS/CTS 流控驱动，无法手动设置。</translation>
    </message>
    <message>
        <source>The remote port is left under its own configuration. Clear &quot;Keep the remote port&apos;s own config&quot; to drive RTS, DTR and Break from here.</source>
        <translation>远程端口保持其自身配置。取消勾选“保留远程端口自身配置”后，才能在此控制 RTS、DTR 和 Break。</translation>
    </message>
    <message>
        <source>Control lines belong to a serial port. This connection does not have one.</source>
        <translation>控制线属于串口，而此连接没有串口。</translation>
    </message>
    <message>
        <source>The port is not open.</source>
        <translation>端口未打开。</translation>
    </message>
    <message>
        <source>Serial Port %1 DISCONNECTED</source>
        <translation>串口 %1 已断开</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>打开</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>继续</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; %1 OPENED, %2, %3, %4, %5, %6 &lt;/font&gt;</source>
        <translation>&lt;font color = green&gt; %1 已打开, %2, %3, %4, %5, %6 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; %1 CLOSED &lt;/font&gt;</source>
        <translation>&lt;font color = red&gt; %1 已关闭 &lt;/font&gt;</translation>
    </message>
    <message numerus="yes">
        <source>&lt;font color = green&gt; TCP server %1 LISTENING, %n client(s) &lt;/font&gt;</source>
        <translation>
            <numerusform>&lt;font color = green&gt; TCP 服务器 %1 监听中，%n 个客户端 &lt;/font&gt;</numerusform>
        </translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; TCP server :%1 CLOSED &lt;/font&gt;</source>
        <translation>&lt;font color = red&gt; TCP 服务器 :%1 已关闭 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; TCP %1 CONNECTED &lt;/font&gt;</source>
        <translation>&lt;font color = green&gt; TCP %1 已连接 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = orange&gt; TCP %1 CONNECTING &lt;/font&gt;</source>
        <translation>&lt;font color = orange&gt; TCP %1 连接中 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = orange&gt; TCP %1 RECONNECTING &lt;/font&gt;</source>
        <translation>&lt;font color = orange&gt; TCP %1 重连中 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; TCP %1 CLOSED &lt;/font&gt;</source>
        <translation>&lt;font color = red&gt; TCP %1 已关闭 &lt;/font&gt;</translation>
    </message>
    <message numerus="yes">
        <source>&lt;font color = green&gt; UDP bound to port %1, %n peer(s) &lt;/font&gt;</source>
        <translation>
            <numerusform>&lt;font color = green&gt; UDP 已绑定端口 %1，%n 个对端 &lt;/font&gt;</numerusform>
        </translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; UDP CLOSED &lt;/font&gt;</source>
        <translation>&lt;font color = red&gt; UDP 已关闭 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; Live Relay %1 CONNECTED &lt;/font&gt;</source>
        <translation>&lt;font color = green&gt; Live Relay %1 已连接 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color = red&gt; Live Relay CLOSED &lt;/font&gt;</source>
        <translation>&lt;font color = red&gt; Live Relay 已关闭 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>Rx: %L1 Bytes</source>
        <translation>接收：%L1 字节</translation>
    </message>
    <message>
        <source>Tx: %L1 Bytes</source>
        <translation>发送：%L1 字节</translation>
    </message>
    <message>
        <source>Select Log File</source>
        <translation>选择日志文件</translation>
    </message>
    <message>
        <source>Log files (*.log);;All files (*.*);;Text files (*.txt)</source>
        <translation>日志文件 (*.log);;所有文件 (*.*);;文本文件 (*.txt)</translation>
    </message>
    <message>
        <source>Receive Settings</source>
        <translation>接收设置</translation>
    </message>
    <message>
        <source>How received data is shown</source>
        <translation>接收数据的显示方式</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>格式</translation>
    </message>
    <message>
        <source>Show received data as text or hex, and the encoding to read it with</source>
        <translation>以文本或十六进制显示接收数据，以及解码所用的编码</translation>
    </message>
    <message>
        <source>Auto Line Feed</source>
        <translation>自动换行</translation>
    </message>
    <message>
        <source>Start a new line after an idle interval</source>
        <translation>空闲超过设定时间后另起一行</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>Display Time</source>
        <translation>显示时间</translation>
    </message>
    <message>
        <source>Prefix received data with a timestamp</source>
        <translation>在接收数据前加上时间戳</translation>
    </message>
    <message>
        <source>Log to File</source>
        <translation>保存日志</translation>
    </message>
    <message>
        <source>Write what the port shows to a log file</source>
        <translation>将端口显示的内容写入日志文件</translation>
    </message>
    <message>
        <source>Choose the log file</source>
        <translation>选择日志文件</translation>
    </message>
    <message>
        <source>Send Settings</source>
        <translation>发送设置</translation>
    </message>
    <message>
        <source>How data is sent</source>
        <translation>数据的发送方式</translation>
    </message>
    <message>
        <source>Send the input as text or hex, and the encoding to send it with</source>
        <translation>以文本或十六进制发送输入内容，以及发送所用的编码</translation>
    </message>
    <message>
        <source>Loop Send</source>
        <translation>循环发送</translation>
    </message>
    <message>
        <source>Resend automatically at an interval</source>
        <translation>按设定间隔自动重复发送</translation>
    </message>
    <message>
        <source>Append Line Ending</source>
        <translation>追加换行</translation>
    </message>
    <message>
        <source>Ending appended to each send</source>
        <translation>每次发送时追加的换行符</translation>
    </message>
    <message>
        <source>Enter Sends</source>
        <translation>回车发送</translation>
    </message>
    <message>
        <source>Bytes sent when Enter is pressed in the receive terminal</source>
        <translation>在接收终端中按回车键时发送的字节</translation>
    </message>
    <message>
        <source>Append Checksum</source>
        <translation>追加校验</translation>
    </message>
    <message>
        <source>Checksum appended to each send</source>
        <translation>每次发送时追加的校验值</translation>
    </message>
    <message>
        <source>Display Send</source>
        <translation>显示发送</translation>
    </message>
    <message>
        <source>Echo sent data in the display</source>
        <translation>在显示区回显已发送的数据</translation>
    </message>
    <message>
        <source>Local Echo</source>
        <translation>本地回显</translation>
    </message>
    <message>
        <source>Echo keys typed into the receive terminal</source>
        <translation>回显在接收终端中键入的按键</translation>
    </message>
    <message>
        <source>Line by Line</source>
        <translation>逐行发送</translation>
    </message>
    <message>
        <source>Send multi-line input line by line</source>
        <translation>将多行输入逐行发送</translation>
    </message>
    <message>
        <source>Escapes</source>
        <translation>转义</translation>
    </message>
    <message>
        <source>Expand \n, \r, \t, \xHH and other backslash escapes in text</source>
        <translation>展开文本中的 \n、\r、\t、\xHH 等反斜杠转义序列</translation>
    </message>
    <message>
        <source>Format Hex</source>
        <translation>规整十六进制</translation>
    </message>
    <message>
        <source>Rewrite hex input as spaced upper-case pairs after sending</source>
        <translation>发送后将十六进制输入整理为以空格分隔的大写字节</translation>
    </message>
    <message>
        <source>How text and hex input are read</source>
        <translation>文本和十六进制输入的解析方式</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清空</translation>
    </message>
    <message>
        <source>Connection Settings</source>
        <translation>连接设置</translation>
    </message>
    <message>
        <source>Port and connection parameters</source>
        <translation>端口和连接参数</translation>
    </message>
    <message>
        <source>Send to</source>
        <translation>发送到</translation>
    </message>
    <message>
        <source>Messages sent before, newest first</source>
        <translation>之前发送过的消息，最新的在前</translation>
    </message>
    <message>
        <source>History</source>
        <translation>历史记录</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>rule %1</source>
        <translation>规则 %1</translation>
    </message>
    <message numerus="yes">
        <source>Auto reply %1: %n byte(s) sent</source>
        <translation>
            <numerusform>自动应答 %1：已发送 %n 个字节</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Auto reply %1: %n byte(s) sent to %2</source>
        <translation>
            <numerusform>自动应答 %1：已向 %2 发送 %n 个字节</numerusform>
        </translation>
    </message>
    <message>
        <source>Auto reply %1: matched, no reply (%2)</source>
        <translation>自动应答 %1：已匹配，未应答（%2）</translation>
    </message>
    <message>
        <source>Error: %1</source>
        <translation>错误：%1</translation>
    </message>
    <message>
        <source> s</source>
        <translation> 秒</translation>
    </message>
    <message>
        <source> min</source>
        <translation> 分钟</translation>
    </message>
    <message>
        <source> × %1 ms</source>
        <translation> × %1 ms</translation>
    </message>
    <message>
        <source>the port is not a serial port</source>
        <translation>该端口不是串口</translation>
    </message>
    <message>
        <source>The line settings were not changed: %1</source>
        <translation>线路参数未更改：%1</translation>
    </message>
    <message>
        <source>Auto reply</source>
        <translation>自动应答</translation>
    </message>
    <message numerus="yes">
        <source>%n rule(s)</source>
        <translation>
            <numerusform>%n 条规则</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n reply(s)</source>
        <translation>
            <numerusform>%n 次应答</numerusform>
        </translation>
    </message>
    <message>
        <source>playing dead</source>
        <translation>假死</translation>
    </message>
    <message>
        <source>This port answers matching data by itself. Click to edit the rules.</source>
        <translation>此端口会自动应答匹配的数据。单击可编辑规则。</translation>
    </message>
    <message>
        <source>The port did not take the command.</source>
        <translation>端口未接受该命令。</translation>
    </message>
    <message>
        <source>Connected to %1</source>
        <translation>已连接到 %1</translation>
    </message>
    <message>
        <source>Could not open %1</source>
        <translation>无法打开 %1</translation>
    </message>
    <message>
        <source>Could not open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
    <message>
        <source>Connecting to %1 ...</source>
        <translation>正在连接 %1 ...</translation>
    </message>
    <message>
        <source>the serial port</source>
        <translation>串口</translation>
    </message>
    <message>
        <source>TCP server port %1</source>
        <translation>TCP 服务器端口 %1</translation>
    </message>
    <message>
        <source>UDP port %1</source>
        <translation>UDP 端口 %1</translation>
    </message>
    <message>
        <source>UDP %1 (local port %2)</source>
        <translation>UDP %1（本地端口 %2）</translation>
    </message>
    <message>
        <source>this connection</source>
        <translation>此连接</translation>
    </message>
    <message>
        <source>Could not connect to %1: %2</source>
        <translation>无法连接到 %1：%2</translation>
    </message>
    <message>
        <source>Lost %1, waiting for it to come back</source>
        <translation>%1 已丢失，正在等待其恢复</translation>
    </message>
    <message>
        <source>Lost %1</source>
        <translation>%1 已丢失</translation>
    </message>
    <message>
        <source>Connection to %1 lost</source>
        <translation>与 %1 的连接已断开</translation>
    </message>
    <message>
        <source>Keys typed in the receive view go to the device as you type. Click the send box to write a message instead.</source>
        <translation>在接收区键入的按键会立即发往设备。若要编写消息，请单击发送框。</translation>
    </message>
    <message>
        <source>Show the settings of this connection</source>
        <translation>显示此连接的设置</translation>
    </message>
    <message>
        <source>Fold the settings to a strip</source>
        <translation>将设置折叠为窄条</translation>
    </message>
    <message>
        <source>Not following: click to follow</source>
        <translation>未跟随：单击以跟随</translation>
    </message>
    <message>
        <source>New data arrives below; click to scroll to the end and follow it</source>
        <translation>新数据在下方到达；单击可滚动到末尾并跟随</translation>
    </message>
    <message>
        <source>Text to send (Ctrl+Enter sends)</source>
        <translation>要发送的文本（Ctrl+Enter 发送）</translation>
    </message>
    <message>
        <source>Sends the message (Ctrl+Enter); opens a closed port</source>
        <translation>发送消息 (Ctrl+Enter)；端口关闭时先打开端口</translation>
    </message>
    <message>
        <source>View</source>
        <translation>视图</translation>
    </message>
    <message>
        <source>Plot</source>
        <translation>绘图</translation>
    </message>
    <message>
        <source>Draw the numbers in the received data as live curves</source>
        <translation>将接收数据中的数字绘制为实时曲线</translation>
    </message>
    <message>
        <source>&lt;font color = green&gt; TCP %1 CONNECTED, remote port %2 &lt;/font&gt;</source>
        <translation>&lt;font color = green&gt; TCP %1 已连接，远程端口 %2 &lt;/font&gt;</translation>
    </message>
    <message>
        <source>A file transfer is running; the view cannot be paused.</source>
        <translation>文件传输正在进行，无法暂停显示。</translation>
    </message>
    <message>
        <source>Frames</source>
        <translation>帧</translation>
    </message>
    <message>
        <source>Decode the traffic into Modbus or template frames</source>
        <translation>将通信数据解码为 Modbus 帧或模板帧</translation>
    </message>
    <message>
        <source>These bytes are no longer in the receive view.</source>
        <translation>接收区中已不再包含这些字节。</translation>
    </message>
    <message>
        <source>Find...</source>
        <translation>查找...</translation>
    </message>
    <message>
        <source>Export Session...</source>
        <translation>导出会话...</translation>
    </message>
    <message>
        <source>Write what this port received and sent to a file</source>
        <translation>将此端口收发的数据写入文件</translation>
    </message>
    <message>
        <source>%1. Click to stop bridging this port.</source>
        <translation>%1。单击可停止桥接此端口。</translation>
    </message>
</context>
<context>
    <name>ServeCommand</name>
    <message>
        <source>Serves a port on a TCP listener: raw, RFC 2217 or Modbus TCP.</source>
        <translation>在 TCP 监听器上提供端口服务：原始、RFC 2217 或 Modbus TCP。</translation>
    </message>
    <message>
        <source>The port to serve.</source>
        <translation>要提供服务的端口。</translation>
    </message>
    <message>
        <source>Where to listen: a TCP port, with an address before it if wanted.</source>
        <translation>监听位置：TCP 端口，可在前面加上地址。</translation>
    </message>
    <message>
        <source>What clients speak: raw (default), rfc2217 or modbus-gateway.</source>
        <translation>客户端使用的协议：raw（默认）、rfc2217 或 modbus-gateway。</translation>
    </message>
    <message>
        <source>Writes both directions to FILE as a trace.</source>
        <translation>将双向数据作为跟踪记录写入 FILE。</translation>
    </message>
    <message>
        <source>--listen needs a TCP port from 0 to 65535 (0: any free one), as PORT or ADDR:PORT.</source>
        <translation>--listen 需要 0 到 65535 之间的 TCP 端口（0：任意空闲端口），格式为 PORT 或 ADDR:PORT。</translation>
    </message>
    <message>
        <source>Unknown protocol %1: use raw, rfc2217 or modbus-gateway.</source>
        <translation>未知协议 %1：请使用 raw、rfc2217 或 modbus-gateway。</translation>
    </message>
    <message>
        <source>Serving %1 on TCP port %2.</source>
        <translation>正在 TCP 端口 %2 上提供 %1 的服务。</translation>
    </message>
</context>
<context>
    <name>SessionExportDialog</name>
    <message>
        <source>Export Session</source>
        <translation>导出会话</translation>
    </message>
    <message>
        <source>Focused port (%1)</source>
        <translation>当前端口 (%1)</translation>
    </message>
    <message numerus="yes">
        <source>All ports (%n)</source>
        <translation>
            <numerusform>所有端口 (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>Ports:</source>
        <translation>端口：</translation>
    </message>
    <message>
        <source>Format:</source>
        <translation>格式：</translation>
    </message>
    <message>
        <source>Escaped ASCII</source>
        <translation>转义 ASCII</translation>
    </message>
    <message>
        <source>Decode with the port&apos;s encoding</source>
        <translation>按端口编码解码</translation>
    </message>
    <message>
        <source>Text column:</source>
        <translation>文本列：</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Data as:</source>
        <translation>数据显示为：</translation>
    </message>
    <message>
        <source>Only data after the last Clear</source>
        <translation>仅导出最近一次清空之后的数据</translation>
    </message>
    <message>
        <source>Export...</source>
        <translation>导出...</translation>
    </message>
    <message>
        <source>CSV (Excel)</source>
        <translation>CSV (Excel)</translation>
    </message>
    <message>
        <source>JSON Lines (for scripts and replay)</source>
        <translation>JSON Lines（用于脚本和回放）</translation>
    </message>
    <message>
        <source>%1 holds no records yet.</source>
        <translation>%1 尚无记录。</translation>
    </message>
    <message numerus="yes">
        <source>%1 holds %n record(s) (%2) since %3.</source>
        <translation>
            <numerusform>%1 自 %3 起保存了 %n 条记录 (%2)。</numerusform>
        </translation>
    </message>
    <message>
        <source>Older data was dropped: VLM keeps the most recent %1 per port.</source>
        <translation>较早的数据已丢弃：VLM 为每个端口保留最近的 %1。</translation>
    </message>
    <message>
        <source>%1 could not be written: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message numerus="yes">
        <source>Exported %n record(s) to %1.</source>
        <translation>
            <numerusform>已将 %n 条记录导出到 %1。</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 (*.%2);;All files (*)</source>
        <translation>%1 (*.%2);;所有文件 (*)</translation>
    </message>
</context>
<context>
    <name>SessionRecorder</name>
    <message>
        <source>Display cleared</source>
        <translation>显示已清空</translation>
    </message>
</context>
<context>
    <name>SessionRecording</name>
    <message>
        <source>A recording is already running.</source>
        <translation>已有录制正在进行。</translation>
    </message>
    <message>
        <source>Could not create the folder %1.</source>
        <translation>无法创建文件夹 %1。</translation>
    </message>
    <message>
        <source>Could not start the next part: %1 already exists.</source>
        <translation>无法开始下一部分：%1 已存在。</translation>
    </message>
    <message>
        <source>Could not write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>%1 is gone: it was deleted or moved while it was being recorded.</source>
        <translation>%1 已不存在：它在录制期间被删除或移动。</translation>
    </message>
    <message>
        <source>Port removed from the window</source>
        <translation>端口已从窗口中移除</translation>
    </message>
    <message>
        <source>write failed</source>
        <translation>写入失败</translation>
    </message>
</context>
<context>
    <name>SetConfigFilePathDialog</name>
    <message>
        <source>Choose the file in which Velmora keeps the settings of your last session. You can keep the suggested place.</source>
        <translation>选择 Velmora 保存上次会话设置的文件。可以保留建议的位置。</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>Settings File</source>
        <translation>设置文件</translation>
    </message>
    <message>
        <source>Settings files (*.ini)</source>
        <translation>设置文件 (*.ini)</translation>
    </message>
    <message>
        <source>Settings File Location</source>
        <translation>设置文件位置</translation>
    </message>
</context>
<context>
    <name>SettingsCodec</name>
    <message>
        <source>Fixed font</source>
        <translation>等宽字体</translation>
    </message>
    <message>
        <source>%1, %2 pt</source>
        <translation>%1, %2 pt</translation>
    </message>
</context>
<context>
    <name>SettingsPanel</name>
    <message>
        <source>Connection</source>
        <translation>连接</translation>
    </message>
    <message>
        <source>Port and connection parameters</source>
        <translation>端口和连接参数</translation>
    </message>
    <message>
        <source>A port from the list, or any device path such as /dev/serial/by-id/... or a pseudo-terminal</source>
        <translation>从列表中选择端口，或输入任意设备路径，例如 /dev/serial/by-id/... 或伪终端</translation>
    </message>
    <message>
        <source>Serial transfer speed</source>
        <translation>串口传输速率</translation>
    </message>
    <message>
        <source>Data bits per frame</source>
        <translation>每帧数据位数</translation>
    </message>
    <message>
        <source>Parity check mode</source>
        <translation>校验方式</translation>
    </message>
    <message>
        <source>Stop bits per frame</source>
        <translation>每帧停止位数</translation>
    </message>
    <message>
        <source>Flow control method</source>
        <translation>流控方式</translation>
    </message>
    <message>
        <source>DTR on</source>
        <translation>DTR 有效</translation>
    </message>
    <message>
        <source>Raise DTR when the port opens</source>
        <translation>打开端口时置 DTR 有效</translation>
    </message>
    <message>
        <source>RTS on</source>
        <translation>RTS 有效</translation>
    </message>
    <message>
        <source>Raise RTS when the port opens; RTS/CTS flow control drives RTS itself</source>
        <translation>打开端口时置 RTS 有效；使用 RTS/CTS 流控时由流控自行驱动 RTS</translation>
    </message>
    <message>
        <source>Host name or address of the peer; recently used hosts are listed</source>
        <translation>对端的主机名或地址；列表中为最近使用过的主机</translation>
    </message>
    <message>
        <source>The local port the UDP client binds</source>
        <translation>UDP 客户端绑定的本地端口</translation>
    </message>
    <message>
        <source>The local port the UDP server binds</source>
        <translation>UDP 服务器绑定的本地端口</translation>
    </message>
    <message>
        <source>Keep the remote port&apos;s own config</source>
        <translation>保留远程端口自身配置</translation>
    </message>
    <message>
        <source>Leave the remote port&apos;s line parameters as they are instead of sending these</source>
        <translation>保持远程端口的线路参数不变，不发送此处的参数</translation>
    </message>
    <message>
        <source>Mode</source>
        <translation>模式</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>Baudrate</source>
        <translation>波特率</translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation>数据位</translation>
    </message>
    <message>
        <source>Parity</source>
        <translation>校验位</translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation>停止位</translation>
    </message>
    <message>
        <source>Flow Type</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>At open</source>
        <translation>打开时</translation>
    </message>
    <message>
        <source>Host</source>
        <translation>主机</translation>
    </message>
    <message>
        <source>Remote port</source>
        <translation>远程端口</translation>
    </message>
    <message>
        <source>Local port</source>
        <translation>本地端口</translation>
    </message>
    <message>
        <source>Listen port</source>
        <translation>监听端口</translation>
    </message>
    <message>
        <source>Remote computer</source>
        <translation>远程计算机</translation>
    </message>
    <message>
        <source>Receive</source>
        <translation>接收</translation>
    </message>
    <message>
        <source>How received data is shown</source>
        <translation>接收数据的显示方式</translation>
    </message>
    <message>
        <source>Show received data as text or hex, and the encoding to read it with</source>
        <translation>以文本或十六进制显示接收数据，以及解码所用的编码</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>格式</translation>
    </message>
    <message>
        <source>Auto Line Feed</source>
        <translation>自动换行</translation>
    </message>
    <message>
        <source>Start a new line after an idle interval</source>
        <translation>空闲超过设定时间后另起一行</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>The idle interval that starts a new line</source>
        <translation>触发换行的空闲间隔</translation>
    </message>
    <message>
        <source>The line ending of received text</source>
        <translation>接收文本的换行符</translation>
    </message>
    <message>
        <source>Line Ending</source>
        <translation>换行符</translation>
    </message>
    <message>
        <source>Display Time</source>
        <translation>显示时间</translation>
    </message>
    <message>
        <source>Prefix received data with a timestamp</source>
        <translation>在接收数据前加上时间戳</translation>
    </message>
    <message>
        <source>A time format such as hh:mm:ss.zzz; other text is shown as it is</source>
        <translation>时间格式，如 hh:mm:ss.zzz；其他文字按原样显示</translation>
    </message>
    <message>
        <source>Received stamp</source>
        <translation>接收时间戳</translation>
    </message>
    <message>
        <source>Sent stamp</source>
        <translation>发送时间戳</translation>
    </message>
    <message>
        <source> MiB</source>
        <translation> MiB</translation>
    </message>
    <message>
        <source>Received data kept for the display and while paused</source>
        <translation>为显示及暂停期间保留的接收数据量</translation>
    </message>
    <message>
        <source>Display buffer</source>
        <translation>显示缓冲区</translation>
    </message>
    <message>
        <source>Choose...</source>
        <translation>选择...</translation>
    </message>
    <message>
        <source>Font</source>
        <translation>字体</translation>
    </message>
    <message>
        <source>Colour text</source>
        <translation>彩色文本</translation>
    </message>
    <message>
        <source>Show received and sent text in the colours chosen here</source>
        <translation>使用此处所选的颜色显示接收和发送的文本</translation>
    </message>
    <message>
        <source>Colour of sent text</source>
        <translation>发送文本的颜色</translation>
    </message>
    <message>
        <source>Colour of received text</source>
        <translation>接收文本的颜色</translation>
    </message>
    <message>
        <source>Show control line indicators</source>
        <translation>显示控制线指示灯</translation>
    </message>
    <message>
        <source>Show the row of TX/RX and control line lights</source>
        <translation>显示 TX/RX 和控制线指示灯一栏</translation>
    </message>
    <message>
        <source>Sent Text Colour</source>
        <translation>发送文本颜色</translation>
    </message>
    <message>
        <source>Received Text Colour</source>
        <translation>接收文本颜色</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
    <message>
        <source>How data is sent</source>
        <translation>数据的发送方式</translation>
    </message>
    <message>
        <source>Send the input as text or hex, and the encoding to send it with</source>
        <translation>以文本或十六进制发送输入内容，以及发送所用的编码</translation>
    </message>
    <message>
        <source>Ending appended to each send</source>
        <translation>每次发送时追加的换行符</translation>
    </message>
    <message>
        <source>Append Line Ending</source>
        <translation>追加换行</translation>
    </message>
    <message>
        <source>Bytes sent when Enter is pressed in the receive terminal</source>
        <translation>在接收终端中按回车键时发送的字节</translation>
    </message>
    <message>
        <source>Enter Sends</source>
        <translation>回车发送</translation>
    </message>
    <message>
        <source>Checksum appended to each send</source>
        <translation>每次发送时追加的校验值</translation>
    </message>
    <message>
        <source>Append Checksum</source>
        <translation>追加校验</translation>
    </message>
    <message>
        <source>Escapes</source>
        <translation>转义</translation>
    </message>
    <message>
        <source>Expand \n, \r, \t, \xHH and other backslash escapes in text</source>
        <translation>展开文本中的 \n、\r、\t、\xHH 等反斜杠转义序列</translation>
    </message>
    <message>
        <source>Format Hex</source>
        <translation>规整十六进制</translation>
    </message>
    <message>
        <source>Rewrite hex input as spaced upper-case pairs after sending</source>
        <translation>发送后将十六进制输入整理为以空格分隔的大写字节</translation>
    </message>
    <message>
        <source>Comments</source>
        <translation>注释</translation>
    </message>
    <message>
        <source>Allow comments in the send input</source>
        <translation>允许在发送输入中使用注释</translation>
    </message>
    <message>
        <source>Display Send</source>
        <translation>显示发送</translation>
    </message>
    <message>
        <source>Echo sent data in the display</source>
        <translation>在显示区回显已发送的数据</translation>
    </message>
    <message>
        <source>Local Echo</source>
        <translation>本地回显</translation>
    </message>
    <message>
        <source>Echo keys typed into the receive terminal</source>
        <translation>回显在接收终端中键入的按键</translation>
    </message>
    <message>
        <source>Line by Line</source>
        <translation>逐行发送</translation>
    </message>
    <message>
        <source>Send multi-line input line by line</source>
        <translation>将多行输入逐行发送</translation>
    </message>
    <message>
        <source>Loop Send</source>
        <translation>循环发送</translation>
    </message>
    <message>
        <source>Resend automatically at an interval</source>
        <translation>按设定间隔自动重复发送</translation>
    </message>
    <message>
        <source>The interval between sends, in the unit beside it</source>
        <translation>两次发送之间的间隔，单位见旁边的选项</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>日志</translation>
    </message>
    <message>
        <source>How the port writes what it shows to a file</source>
        <translation>端口将显示内容写入文件的方式</translation>
    </message>
    <message>
        <source>Log to File</source>
        <translation>保存日志</translation>
    </message>
    <message>
        <source>Write what the port shows to a log file</source>
        <translation>将端口显示的内容写入日志文件</translation>
    </message>
    <message>
        <source>Append</source>
        <translation>追加</translation>
    </message>
    <message>
        <source>Add to an existing file instead of starting it afresh</source>
        <translation>追加到已有文件，而不是重新开始写入</translation>
    </message>
    <message>
        <source>Ask for Name</source>
        <translation>询问文件名</translation>
    </message>
    <message>
        <source>Ask for the file name each time logging starts</source>
        <translation>每次开始记录日志时询问文件名</translation>
    </message>
    <message>
        <source>Start on Connect</source>
        <translation>连接时开始</translation>
    </message>
    <message>
        <source>Start logging by itself when the port opens</source>
        <translation>端口打开时自动开始记录日志</translation>
    </message>
    <message>
        <source>The log file. %S is replaced by the port name; %Y, %y, %M, %D, %h, %m, %s and %z by the year, two-digit year, month, day, hour, minute, second and millisecond</source>
        <translation>日志文件。%S 替换为端口名；%Y、%y、%M、%D、%h、%m、%s 和 %z 分别替换为年、两位年份、月、日、时、分、秒和毫秒</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>浏览...</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>Time Stamp</source>
        <translation>时间戳</translation>
    </message>
    <message>
        <source>Begin each logged line with a time stamp</source>
        <translation>每行日志以时间戳开头</translation>
    </message>
    <message>
        <source>%h, %m, %s and %z stand for the hour, minute, second and millisecond</source>
        <translation>%h、%m、%s 和 %z 分别表示时、分、秒和毫秒</translation>
    </message>
    <message>
        <source>Rotate above</source>
        <translation>按大小轮转</translation>
    </message>
    <message>
        <source>Start a new file when the log grows past this size</source>
        <translation>日志超过此大小时新建文件</translation>
    </message>
    <message>
        <source>Rotate daily at</source>
        <translation>每天轮转于</translation>
    </message>
    <message>
        <source>Start a new file every day at this time</source>
        <translation>每天在此时间新建文件</translation>
    </message>
    <message>
        <source>Hour in file name</source>
        <translation>文件名含小时</translation>
    </message>
    <message>
        <source>Rotated file names carry the hour</source>
        <translation>轮转后的文件名包含小时</translation>
    </message>
    <message>
        <source>Serial</source>
        <translation>串口</translation>
    </message>
    <message>
        <source>TCP Server</source>
        <translation>TCP 服务器</translation>
    </message>
    <message>
        <source>TCP Client</source>
        <translation>TCP 客户端</translation>
    </message>
    <message>
        <source>UDP Server</source>
        <translation>UDP 服务器</translation>
    </message>
    <message>
        <source>UDP Client</source>
        <translation>UDP 客户端</translation>
    </message>
    <message>
        <source>Remote Serial (RFC 2217)</source>
        <translation>远程串口 (RFC 2217)</translation>
    </message>
    <message>
        <source>Live Relay</source>
        <translation>Live Relay</translation>
    </message>
    <message>
        <source>Custom</source>
        <translation>自定义</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>Even</source>
        <translation>偶校验</translation>
    </message>
    <message>
        <source>Odd</source>
        <translation>奇校验</translation>
    </message>
    <message>
        <source>Mark</source>
        <translation>标记校验</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>空格校验</translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation>RTS/CTS</translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation>XON/XOFF</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>ms</source>
        <translation>ms</translation>
    </message>
    <message>
        <source>s</source>
        <translation>秒</translation>
    </message>
    <message>
        <source>min</source>
        <translation>分钟</translation>
    </message>
    <message>
        <source>UDP Group</source>
        <translation>UDP 组播</translation>
    </message>
    <message>
        <source>Unused</source>
        <translation>未使用</translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation>%2 上的 %1</translation>
    </message>
    <message>
        <source>None chosen</source>
        <translation>未选择</translation>
    </message>
    <message>
        <source>× %1 ms</source>
        <translation>× %1 ms</translation>
    </message>
    <message>
        <source>Please input correct log file name!</source>
        <translation>请输入正确的日志文件名！</translation>
    </message>
    <message>
        <source>Select Log File</source>
        <translation>选择日志文件</translation>
    </message>
    <message>
        <source>Log files (*.log);;All files (*.*);;Text files (*.txt)</source>
        <translation>日志文件 (*.log);;所有文件 (*.*);;文本文件 (*.txt)</translation>
    </message>
    <message>
        <source>Bits per second</source>
        <translation>每秒比特数</translation>
    </message>
    <message>
        <source>Enter a rate from 0 to 100000000 bits per second</source>
        <translation>请输入 0 到 100000000 之间的速率（单位 bit/s）</translation>
    </message>
    <message>
        <source>Received %1</source>
        <translation>接收 %1</translation>
    </message>
    <message>
        <source>Sent %1</source>
        <translation>发送 %1</translation>
    </message>
    <message>
        <source>Display Font</source>
        <translation>显示字体</translation>
    </message>
    <message>
        <source>Choose a port of another computer, or join with an invite code</source>
        <translation>选择另一台计算机的端口，或使用邀请码加入</translation>
    </message>
    <message>
        <source>Invite code %1</source>
        <translation>邀请码 %1</translation>
    </message>
</context>
<context>
    <name>SimulateCommand</name>
    <message>
        <source>Answers like a device with auto reply rules until stopped.</source>
        <translation>用自动应答规则像设备一样应答，直到停止。</translation>
    </message>
    <message>
        <source>The connection (leave out to use the project&apos;s port).</source>
        <translation>连接（省略则使用项目的端口）。</translation>
    </message>
    <message>
        <source>A text rule: what arrives = what to answer, with \r, \n and \xHH escapes. May repeat.</source>
        <translation>文本规则：收到的内容=要应答的内容，可用 \r、\n 和 \xHH 转义。可重复。</translation>
    </message>
    <message>
        <source>One JSON object per event.</source>
        <translation>每个事件一个 JSON 对象。</translation>
    </message>
    <message>
        <source>Give either --project FILE (with --port N) or --reply rules.</source>
        <translation>请给出 --project FILE（可带 --port N）或 --reply 规则之一。</translation>
    </message>
    <message>
        <source>--reply %1: write PATTERN=REPLY.</source>
        <translation>--reply %1：请写成 PATTERN=REPLY。</translation>
    </message>
    <message>
        <source>There is no enabled auto reply rule to simulate with.</source>
        <translation>没有可用于模拟的已启用自动应答规则。</translation>
    </message>
    <message>
        <source>rule %1</source>
        <translation>规则 %1</translation>
    </message>
    <message numerus="yes">
        <source>%1: %n byte(s) sent</source>
        <translation>
            <numerusform>%1：已发送 %n 字节</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1: %n byte(s) sent to %2</source>
        <translation>
            <numerusform>%1：已发送 %n 字节到 %2</numerusform>
        </translation>
    </message>
    <message>
        <source>%1: matched, no reply (%2)</source>
        <translation>%1：已匹配，未应答（%2）</translation>
    </message>
</context>
<context>
    <name>Startup</name>
    <message>
        <source>Usage: %1 [option]
A workbench for serial, TCP, UDP and remote serial devices.

Options:
  -h, --help                     Show this text and exit.
  -v, --version                  Show the version and exit.
  --screenshot FILE              Save a picture of the main window.
  --screenshot-scene NAME FILE [WxH]
                                 Set up a sample scene and save its picture.
  --screenshot-dialog NAME FILE [WxH]
                                 Open a dialog and save its picture.

Scenes: %2
Dialogs: %3
</source>
        <translation>用法：%1 [选项]
用于串口、TCP、UDP 和远程串口设备的工作台。

选项：
  -h, --help                     显示本说明并退出。
  -v, --version                  显示版本并退出。
  --screenshot FILE              保存主窗口的图片。
  --screenshot-scene NAME FILE [WxH]
                                 布置示例场景并保存其图片。
  --screenshot-dialog NAME FILE [WxH]
                                 打开对话框并保存其图片。

场景：%2
对话框：%3
</translation>
    </message>
</context>
<context>
    <name>TcpListenerEndpoint</name>
    <message>
        <source>Refused %1: %2</source>
        <translation>已拒绝 %1：%2</translation>
    </message>
    <message>
        <source>TCP :%1 (built-in)</source>
        <translation>TCP :%1（内置）</translation>
    </message>
    <message>
        <source>Cannot listen on TCP port %1: %2</source>
        <translation>无法在 TCP 端口 %1 上监听：%2</translation>
    </message>
</context>
<context>
    <name>TemplateStreamDecoder</name>
    <message>
        <source>Data</source>
        <translation>数据</translation>
    </message>
    <message>
        <source>%1 bytes</source>
        <translation>%1 字节</translation>
    </message>
</context>
<context>
    <name>ToolBox</name>
    <message>
        <source>Toolbox</source>
        <translation>工具箱</translation>
    </message>
    <message>
        <source>Converter</source>
        <translation>转换</translation>
    </message>
    <message>
        <source>CRC Calculator</source>
        <translation>CRC 计算</translation>
    </message>
    <message>
        <source>Hex to Text</source>
        <translation>十六进制转文本</translation>
    </message>
    <message>
        <source>Text to Hex</source>
        <translation>文本转十六进制</translation>
    </message>
    <message>
        <source>Copy Output</source>
        <translation>复制输出</translation>
    </message>
    <message>
        <source>Always UTF-8. This tool is independent of the encoding a port is configured with.</source>
        <translation>始终使用 UTF-8。本工具与端口所配置的编码无关。</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>输出</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>输入</translation>
    </message>
    <message>
        <source>Text (UTF-8)</source>
        <translation>文本 (UTF-8)</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Custom</source>
        <translation>自定义</translation>
    </message>
    <message>
        <source>Reflect input</source>
        <translation>输入反转</translation>
    </message>
    <message>
        <source>Reflect output</source>
        <translation>输出反转</translation>
    </message>
    <message>
        <source>Calculate</source>
        <translation>计算</translation>
    </message>
    <message>
        <source>Dec</source>
        <translation>十进制</translation>
    </message>
    <message>
        <source>Oct</source>
        <translation>八进制</translation>
    </message>
    <message>
        <source>Bin</source>
        <translation>二进制</translation>
    </message>
    <message>
        <source>Copy Value</source>
        <translation>复制数值</translation>
    </message>
    <message>
        <source>Big-endian</source>
        <translation>大端</translation>
    </message>
    <message>
        <source>Little-endian</source>
        <translation>小端</translation>
    </message>
    <message>
        <source>Copy Bytes</source>
        <translation>复制字节</translation>
    </message>
    <message>
        <source>Insert Frame into Send</source>
        <translation>插入发送框</translation>
    </message>
    <message>
        <source>Input format</source>
        <translation>输入格式</translation>
    </message>
    <message>
        <source>Algorithm</source>
        <translation>算法</translation>
    </message>
    <message>
        <source>Width</source>
        <translation>位宽</translation>
    </message>
    <message>
        <source>Polynomial (hex)</source>
        <translation>多项式 (十六进制)</translation>
    </message>
    <message>
        <source>Initial value (hex)</source>
        <translation>初始值 (十六进制)</translation>
    </message>
    <message>
        <source>Final XOR (hex)</source>
        <translation>结果异或值 (十六进制)</translation>
    </message>
    <message>
        <source>Base</source>
        <translation>进制</translation>
    </message>
    <message>
        <source>Wire bytes</source>
        <translation>传输字节</translation>
    </message>
    <message>
        <source>Byte order</source>
        <translation>字节序</translation>
    </message>
    <message>
        <source>Invalid hex character at position %1.</source>
        <translation>位置 %1 处有无效的十六进制字符。</translation>
    </message>
    <message>
        <source>Hex input must contain complete bytes.</source>
        <translation>十六进制输入必须是完整的字节。</translation>
    </message>
    <message>
        <source>Width must be between 1 and 64.</source>
        <translation>位宽必须在 1 到 64 之间。</translation>
    </message>
    <message>
        <source>%1 must be a hexadecimal value that fits the width.</source>
        <translation>%1 必须是符合位宽的十六进制值。</translation>
    </message>
    <message>
        <source>Polynomial</source>
        <translation>多项式</translation>
    </message>
    <message>
        <source>Polynomial must not be zero.</source>
        <translation>多项式不能为零。</translation>
    </message>
    <message>
        <source>Initial value</source>
        <translation>初始值</translation>
    </message>
    <message>
        <source>Final XOR</source>
        <translation>结果异或值</translation>
    </message>
</context>
<context>
    <name>VlmlogWriter</name>
    <message>
        <source>Recording missed %1 event(s): the port moved faster than the file.</source>
        <translation>录制遗漏了 %1 个事件：端口数据快于文件写入。</translation>
    </message>
</context>
<context>
    <name>WireTextCodecRegistry</name>
    <message>
        <source>The character &apos;%1&apos; cannot be encoded as %2. Change the encoding or edit the message.</source>
        <translation>字符 &apos;%1&apos; 无法用 %2 编码。请更改编码或修改消息。</translation>
    </message>
    <message>
        <source>This message cannot be encoded as %1. Change the encoding or edit the message.</source>
        <translation>此消息无法用 %1 编码。请更改编码或修改消息。</translation>
    </message>
</context>
<context>
    <name>XferCommand</name>
    <message>
        <source>Sends or receives files with XMODEM or YMODEM.</source>
        <translation>使用 XMODEM 或 YMODEM 发送或接收文件。</translation>
    </message>
    <message>
        <source>send or receive.</source>
        <translation>send（发送）或 receive（接收）。</translation>
    </message>
    <message>
        <source>The connection.</source>
        <translation>连接。</translation>
    </message>
    <message>
        <source>Sending: the files. Receiving: the folder to save into, or the file to save as.</source>
        <translation>发送：要发送的文件。接收：保存到的文件夹，或另存为的文件。</translation>
    </message>
    <message>
        <source>xmodem, xmodem-crc, xmodem-1k, ymodem (default) or ymodem-g.</source>
        <translation>xmodem、xmodem-crc、xmodem-1k、ymodem（默认）或 ymodem-g。</translation>
    </message>
    <message>
        <source>The largest block to send: 128 or 1024 (default).</source>
        <translation>发送的最大块：128 或 1024（默认）。</translation>
    </message>
    <message>
        <source>Receiving: stop after this many MiB (default 0, no limit).</source>
        <translation>接收：达到此 MiB 数后停止（默认 0，不限制）。</translation>
    </message>
    <message>
        <source>Say send or receive, then the connection.</source>
        <translation>请先写 send 或 receive，再写连接。</translation>
    </message>
    <message>
        <source>--protocol %1: use xmodem, xmodem-crc, xmodem-1k, ymodem or ymodem-g.</source>
        <translation>--protocol %1：请使用 xmodem、xmodem-crc、xmodem-1k、ymodem 或 ymodem-g。</translation>
    </message>
    <message>
        <source>--block-size %1: use 128 or 1024.</source>
        <translation>--block-size %1：请使用 128 或 1024。</translation>
    </message>
    <message>
        <source>--limit-mb %1: give MiB, 0 or more.</source>
        <translation>--limit-mb %1：请给出 0 或更大的 MiB 数。</translation>
    </message>
    <message>
        <source>Name the files to send.</source>
        <translation>请指定要发送的文件。</translation>
    </message>
    <message>
        <source>Name one folder to save into, or one file to save as.</source>
        <translation>请指定一个保存到的文件夹，或一个另存为的文件。</translation>
    </message>
    <message>
        <source>XMODEM carries no file name: name the file to save as.</source>
        <translation>XMODEM 不携带文件名：请指定另存为的文件。</translation>
    </message>
    <message>
        <source>The folder %1 does not exist.</source>
        <translation>文件夹 %1 不存在。</translation>
    </message>
</context>
<context>
    <name>XferFileSink</name>
    <message>
        <source>The folder %1 does not exist.</source>
        <translation>文件夹 %1 不存在。</translation>
    </message>
    <message>
        <source>Could not create %1: %2</source>
        <translation>无法创建 %1：%2</translation>
    </message>
    <message>
        <source>Too many files of that name exist.</source>
        <translation>同名文件过多。</translation>
    </message>
    <message>
        <source>Writing to disk failed.</source>
        <translation>写入磁盘失败。</translation>
    </message>
    <message>
        <source>The file is larger than the receive limit of %1 bytes.</source>
        <translation>文件超过了 %1 字节的接收上限。</translation>
    </message>
    <message>
        <source>Could not write %1: %2</source>
        <translation>无法写入 %1：%2</translation>
    </message>
    <message>
        <source>The data was received but could not be saved.</source>
        <translation>数据已收到，但无法保存。</translation>
    </message>
    <message>
        <source>The device announced %1 bytes but sent only %2.</source>
        <translation>设备声明了 %1 字节，但只发送了 %2 字节。</translation>
    </message>
    <message>
        <source>The file was received but could not be renamed to %1.</source>
        <translation>文件已收到，但无法重命名为 %1。</translation>
    </message>
    <message>
        <source>%1 has %2 MB free but the file needs %3 MB. Choose another location.</source>
        <translation>%1 剩余空间为 %2 MB，但文件需要 %3 MB。请选择其他位置。</translation>
    </message>
</context>
<context>
    <name>XferFileSource</name>
    <message>
        <source>It is a folder.</source>
        <translation>这是一个文件夹。</translation>
    </message>
    <message>
        <source>Could not open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
</context>
<context>
    <name>XferProgressText</name>
    <message>
        <source>%1 bytes</source>
        <translation>%1 字节</translation>
    </message>
    <message>
        <source>%1 of %2 bytes</source>
        <translation>%1 / %2 字节</translation>
    </message>
    <message>
        <source>%1 KB/s</source>
        <translation>%1 KB/s</translation>
    </message>
    <message>
        <source>%1 s left</source>
        <translation>剩余 %1 秒</translation>
    </message>
    <message>
        <source>%1 min %2 s left</source>
        <translation>剩余 %1 分 %2 秒</translation>
    </message>
    <message>
        <source>%1 h %2 min left</source>
        <translation>剩余 %1 小时 %2 分</translation>
    </message>
</context>
<context>
    <name>XferStartCheck</name>
    <message>
        <source>A file transfer is already running on this port.</source>
        <translation>此端口上已有文件传输正在进行。</translation>
    </message>
    <message>
        <source>File transfer needs an ordered, reliable connection. UDP cannot provide one.</source>
        <translation>文件传输需要有序、可靠的连接。UDP 无法提供。</translation>
    </message>
    <message>
        <source>This port is part of a bridge link. Remove the link before transferring a file.</source>
        <translation>此端口属于一个桥接链路。请先移除该链路再传输文件。</translation>
    </message>
    <message>
        <source>The view is paused. Resume it before transferring a file.</source>
        <translation>显示已暂停。请先恢复再传输文件。</translation>
    </message>
    <message>
        <source>YMODEM-G does not retransmit, so it needs hardware flow control (RTS/CTS). This connection has none</source>
        <translation>YMODEM-G 不会重传，因此需要硬件流控 (RTS/CTS)。此连接没有硬件流控</translation>
    </message>
    <message>
        <source>Several clients are connected. Select the one to transfer with.</source>
        <translation>已连接多个客户端。请选择要与之传输的客户端。</translation>
    </message>
    <message>
        <source>The selected client is no longer connected.</source>
        <translation>所选客户端已断开连接。</translation>
    </message>
</context>
<context>
    <name>XmodemCodec</name>
    <message>
        <source>Could not read the file being sent.</source>
        <translation>无法读取正在发送的文件。</translation>
    </message>
    <message>
        <source>Could not create the destination file.</source>
        <translation>无法创建目标文件。</translation>
    </message>
    <message>
        <source>The device sent more data than the transfer asked for.</source>
        <translation>设备发送的数据多于传输所需。</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>已取消。</translation>
    </message>
    <message>
        <source>Gave up after %1 retries.</source>
        <translation>重试 %1 次后放弃。</translation>
    </message>
    <message>
        <source>The device cancelled the transfer.</source>
        <translation>设备取消了传输。</translation>
    </message>
    <message>
        <source>A block failed its checksum. YMODEM-G cannot ask for it again, so the transfer has failed.</source>
        <translation>一个数据块校验失败。YMODEM-G 无法请求重发，因此传输失败。</translation>
    </message>
    <message>
        <source>Data kept failing its checksum. This is usually a baud rate mismatch or line noise.</source>
        <translation>数据反复校验失败。通常是波特率不匹配或线路噪声所致。</translation>
    </message>
    <message>
        <source>The device sent a malformed file header.</source>
        <translation>设备发送的文件头格式错误。</translation>
    </message>
    <message>
        <source>The device offered a %1 byte file, which is over the receive limit.</source>
        <translation>设备提供的文件为 %1 字节，超过了接收上限。</translation>
    </message>
    <message>
        <source>Block %1 arrived when block %2 was expected; the transfer is out of step.</source>
        <translation>期望收到块 %2，却收到了块 %1；传输已失步。</translation>
    </message>
    <message>
        <source>Received %1 bytes without an end of transfer. XMODEM has no length field, so there is no way to tell when it should stop.</source>
        <translation>已收到 %1 字节，仍未收到传输结束。XMODEM 没有长度字段，无法判断何时应当停止。</translation>
    </message>
    <message>
        <source>Writing to disk failed.</source>
        <translation>写入磁盘失败。</translation>
    </message>
    <message>
        <source>The data was received but could not be saved.</source>
        <translation>数据已收到，但无法保存。</translation>
    </message>
    <message>
        <source>The device did not start sending. Check that it is ready to send and that the baud rate matches.</source>
        <translation>设备没有开始发送。请检查设备是否已准备好发送，以及波特率是否一致。</translation>
    </message>
    <message>
        <source>The device stopped sending. YMODEM-G cannot recover, so the transfer has failed.</source>
        <translation>设备停止了发送。YMODEM-G 无法恢复，因此传输失败。</translation>
    </message>
    <message>
        <source>The device reported an error. YMODEM-G cannot resend a block, so the transfer has been abandoned.</source>
        <translation>设备报告了错误。YMODEM-G 无法重发数据块，因此传输已放弃。</translation>
    </message>
    <message>
        <source>The device stopped responding. YMODEM-G has no retransmission, so the transfer has failed.</source>
        <translation>设备停止了响应。YMODEM-G 没有重传机制，因此传输失败。</translation>
    </message>
    <message>
        <source>The device did not request the transfer. Check that it is waiting to receive and that the baud rate matches.</source>
        <translation>设备没有请求传输。请检查设备是否正在等待接收，以及波特率是否一致。</translation>
    </message>
    <message>
        <source>The file changed while it was being sent.</source>
        <translation>文件在发送过程中被修改。</translation>
    </message>
</context>
<context>
    <name>ZipWriter</name>
    <message>
        <source>The output is not open for writing.</source>
        <translation>输出未以写入方式打开。</translation>
    </message>
    <message>
        <source>Could not write the archive: %1</source>
        <translation>无法写入压缩包：%1</translation>
    </message>
    <message>
        <source>The archive is already finished.</source>
        <translation>压缩包已完成。</translation>
    </message>
    <message>
        <source>Invalid entry name: %1</source>
        <translation>无效的条目名：%1</translation>
    </message>
    <message>
        <source>Duplicate entry name: %1</source>
        <translation>重复的条目名：%1</translation>
    </message>
    <message>
        <source>The archive has too many entries.</source>
        <translation>压缩包中的条目过多。</translation>
    </message>
    <message>
        <source>The entry %1 is too large.</source>
        <translation>条目 %1 过大。</translation>
    </message>
    <message>
        <source>The archive would be too large.</source>
        <translation>压缩包将会过大。</translation>
    </message>
</context>
</TS>
