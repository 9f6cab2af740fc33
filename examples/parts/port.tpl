<!-- SPDX-License-Identifier: MIT -->
<!-- One port. Parameters: app, its application; number, as the front panel names it. -->
<section id=port${number}, bottom=0>
<css style=font-family:Helvetica-Bold;font-size:12>
<row cstyle='%s %s'><value dict>port</value><value>${number}</value></row>
<css style=font-family:Courier;font-size:10>
<row cstyle='  %-22s %20s'><value dict>link</value><value link=${app}@link></value></row>
<row cstyle='  %-22s %13s %6s'><value dict>speed</value><value link=${app}@speed></value><value link=${app}@duplex></value></row>
<row cstyle='  %-22s %20s'><value dict>mac</value><value link=${app}@mac, conv=mac-addr></value></row>
<row cstyle='  %-22s %20s'><value dict>ip</value><value link=${app}@address, conv=ipv4-addr></value></row>
<row cstyle='  %-22s %14u %5s'><value dict>mtu</value><value link=${app}@mtu></value><value dict>octets</value></row>
<row cstyle='  %-22s %20s'><value dict>rx.power</value><value link=${app}@rxPower, conv=units(dBm=100:%.2f)></value></row>
<row cstyle='  %-22s %18.1f C'><value dict>laser</value><value link=${app}@laserTemp, conv=arrayFloat></value></row>
<row cstyle='  %-22s %20s'><value dict>frames.tagged</value><value link=${app}@status, conv=bitmap(0x2?YES:NO), dict></value></row>
<row></row>
<row cstyle='  %-22s %20s %20s'><value></value><value dict>received</value><value dict>sent</value></row>
<row cstyle='  %-22s %20llu %20llu'><value dict>frames</value><value link=${app}@rxFrames></value><value link=${app}@txFrames></value></row>
<row cstyle='  %-22s %20s %20s'><value dict>bytes</value><value link=${app}@rxBytes, conv=units(B=1:%.0f;kB=1000:%.2f;MB=1000000;GB=1000000000)></value><value link=${app}@txBytes, conv=units(B=1:%.0f;kB=1000:%.2f;MB=1000000;GB=1000000000)></value></row>
<row cstyle='  %-22s %20s %20s'><value dict>rate</value><value link=${app}@rxBytes:rate, conv=units(bit/s=1:%.0f;kbit/s=1000:%.2f;Mbit/s=1000000)></value><value link=${app}@txBytes:rate, conv=units(bit/s=1:%.0f;kbit/s=1000:%.2f;Mbit/s=1000000)></value></row>
<row cstyle='  %-22s %20u'><value dict>errors</value><value link=${app}@rxErrors></value></row>
<row cstyle='    %-20s %20u'><value dict>errors.max</value><value link=${app}@rxErrors:max></value></row>
<row cstyle='  %-22s %20u'><value dict>link.lost</value><value link=${app}@lost></value></row>
<row cstyle='    %-20s %20s'><value dict>link.lost.time</value><value link=${app}@lost:secs, conv=time></value></row>

<section id=sizes, bottom=0>
<row cstyle='  %-22s %20s'><value dict>sizes</value><value dict>received</value></row>
<iterate var=class, from=1, to=${app}@classes>
<row cstyle='    %-20s %20u'><value dict>size.${class}</value><value link=${app}@sizes[${class}]></value></row>
</iterate>
<row cstyle='    %-20s %20u'><value dict>sizes.all</value><value link=${app}@sizes[0]></value></row>
</section>

<!-- Only this list takes its texts from a dictionary of its own. -->
<section id=alarms, bottom=0, dict=alarms[0x10:1]>
<row cstyle='  %-22s %s'><value dict>alarms</value><value link=${app}@alarms></value></row>
</section>
</section>
