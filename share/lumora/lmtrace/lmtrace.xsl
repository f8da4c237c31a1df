<?xml version="1.0" encoding="UTF-8"?>
<!-- Shows an XML trace as a table, one row a record, in any browser that transforms XSLT 1.0; for others,
     "xsltproc lmtrace.xsl trace.xml" writes the same as HTML. -->
<xsl:stylesheet version="1.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform"
    xmlns:lmtrace="urn::uuid::a4a83aae-be5c-4b2b-9f60-5e937dee9534"
    exclude-result-prefixes="lmtrace">

  <xsl:output method="html" encoding="UTF-8" indent="no" doctype-system="about:legacy-compat"/>

  <xsl:template match="/lmtrace:log">
    <html lang="en">
      <head>
        <meta name="viewport" content="width=device-width, initial-scale=1"/>
        <title>Trace</title>
        <style>
          :root { color-scheme: light dark; --ink: #1f2328; --faint: #656d76; --rule: #d8dee4; --paper: #ffffff; --head: #f6f8fa;
                  --info: #0550ae; --debug: #656d76; --warning: #8a5a00; --warning-paper: #fff8e5; --error: #b42318; --error-paper: #fff0ee; }
          @media (prefers-color-scheme: dark) {
            :root { --ink: #e6edf3; --faint: #9198a1; --rule: #30363d; --paper: #0d1117; --head: #161b22;
                    --info: #79b8ff; --debug: #9198a1; --warning: #e3b341; --warning-paper: #272115; --error: #ff8b80; --error-paper: #2d1717; }
          }
          body { margin: 1.5rem; font: 14px/1.45 system-ui, "Segoe UI", sans-serif; color: var(--ink); background: var(--paper); }
          h1 { margin: 0; font-size: 1.25rem; font-weight: 600; }
          p { margin: .25rem 0 1rem; color: var(--faint); }
          table { width: 100%; border-collapse: collapse; }
          th, td { padding: .3rem .75rem .3rem 0; text-align: left; vertical-align: top; border-bottom: 1px solid var(--rule); }
          th { position: sticky; top: 0; background: var(--head); font-weight: 600; white-space: nowrap; }
          th:first-child, td:first-child { padding-left: .6rem; border-left: 3px solid transparent; }
          td { white-space: nowrap; }
          .time, .number { font-variant-numeric: tabular-nums; }
          .number { text-align: right; }
          .message { width: 100%; white-space: pre-wrap; overflow-wrap: anywhere; font-family: ui-monospace, Consolas, "DejaVu Sans Mono", monospace; font-size: 13px; }
          .type { font-weight: 600; }
          .Info .type { color: var(--info); }
          .Debug .type { color: var(--debug); }
          .Warning .type { color: var(--warning); }
          .Error .type { color: var(--error); }
          .Warning { background: var(--warning-paper); }
          .Error { background: var(--error-paper); }
          .Warning td:first-child { border-left-color: var(--warning); }
          .Error td:first-child { border-left-color: var(--error); }
        </style>
      </head>
      <body>
        <h1>Trace</h1>
        <p>
          <xsl:call-template name="counted">
            <xsl:with-param name="number" select="count(lmtrace:mesg)"/>
            <xsl:with-param name="noun" select="'record'"/>
          </xsl:call-template>
          <xsl:text>, </xsl:text>
          <xsl:call-template name="counted">
            <xsl:with-param name="number" select="count(lmtrace:mesg[@type = 'Warning'])"/>
            <xsl:with-param name="noun" select="'warning'"/>
          </xsl:call-template>
          <xsl:text>, </xsl:text>
          <xsl:call-template name="counted">
            <xsl:with-param name="number" select="count(lmtrace:mesg[@type = 'Error'])"/>
            <xsl:with-param name="noun" select="'error'"/>
          </xsl:call-template>
        </p>
        <table>
          <thead>
            <tr>
              <th scope="col">Time</th>
              <th scope="col">Type</th>
              <th scope="col" class="number">Process</th>
              <th scope="col" class="number">Thread</th>
              <th scope="col">Source</th>
              <th scope="col">Subkey</th>
              <th scope="col">Message</th>
            </tr>
          </thead>
          <tbody>
            <xsl:apply-templates select="lmtrace:mesg"/>
          </tbody>
        </table>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="lmtrace:mesg">
    <!-- The message follows the last element, behind the line break that ends the element's line. -->
    <xsl:variable name="text" select="lmtrace:sourceid/following-sibling::text()[1]"/>
    <tr class="{@type}">
      <td class="time"><xsl:value-of select="@time"/></td>
      <td class="type"><xsl:value-of select="@type"/></td>
      <td class="number"><xsl:value-of select="lmtrace:id/@proc"/></td>
      <td class="number"><xsl:value-of select="lmtrace:id/@thread"/></td>
      <td><xsl:value-of select="lmtrace:sourceid/@source"/></td>
      <td><xsl:value-of select="lmtrace:sourceid/@subkey"/></td>
      <td class="message">
        <xsl:choose>
          <xsl:when test="starts-with($text, '&#10;')"><xsl:value-of select="substring($text, 2)"/></xsl:when>
          <xsl:otherwise><xsl:value-of select="$text"/></xsl:otherwise>
        </xsl:choose>
      </td>
    </tr>
  </xsl:template>

  <!-- "1 record", "2 records" -->
  <xsl:template name="counted">
    <xsl:param name="number"/>
    <xsl:param name="noun"/>
    <xsl:value-of select="concat($number, ' ', $noun)"/>
    <xsl:if test="$number != 1">s</xsl:if>
  </xsl:template>

</xsl:stylesheet>
