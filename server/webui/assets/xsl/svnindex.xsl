<?xml version="1.0" encoding="UTF-8"?>
<!-- A listing for programs that take it as XML and apply stylesheets. Browsers get the same page as
     HTML from the server and do not read this. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" encoding="UTF-8" doctype-system="about:legacy-compat"/>

  <xsl:template match="/svn">
    <html lang="en">
      <head>
        <title><xsl:apply-templates select="index" mode="title"/> - Kelvarion Server</title>
        <link rel="icon" href="/favicon.ico"/>
        <link rel="stylesheet" href="/!/assets/css/kelvarion.css?v=1"/>
      </head>
      <body>
        <header><xsl:call-template name="home"/></header>
        <main><xsl:apply-templates select="index"/></main>
      </body>
    </html>
  </xsl:template>

  <xsl:template name="home">Kelvarion Server</xsl:template>

  <xsl:template match="index" mode="title">Repositories</xsl:template>
  <xsl:template match="index[@rev]" mode="title">
    <xsl:value-of select="concat(@base, @path)"/>
  </xsl:template>

  <xsl:template match="index">
    <xsl:apply-templates select="updir"/>
    <h1><xsl:apply-templates select="." mode="title"/></h1>
    <xsl:if test="@rev"><p class="revision">Revision <xsl:value-of select="@rev"/></p></xsl:if>
    <ul class="listing">
      <xsl:apply-templates select="dir"/>
      <xsl:apply-templates select="file"/>
    </ul>
    <xsl:if test="not(dir | file)"><p class="empty">Nothing here that you may see.</p></xsl:if>
  </xsl:template>

  <xsl:template match="updir">
    <nav><a href="{@href}">Parent folder</a></nav>
  </xsl:template>

  <xsl:template match="dir | file">
    <li class="{name()}"><a href="{@href}"><xsl:value-of select="@name"/></a></li>
  </xsl:template>
</xsl:stylesheet>
